#include "platform/posix/processes/process.h"

#include <poll.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>

#include "platform/posix/api/processes.h"
#include "platform/posix/api/threads.h"
#include "platform/posix/kernel/descriptor_event.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/process_exit.h"
#include "platform/posix/kernel/reactor.h"
#include "platform/posix/kernel/thread.h"
#include "platform/posix/processes/parent_process.h"

namespace platform {
namespace {

/// What shells report for a process that a signal ended.
constexpr DWORD kEndedBySignal = 128;

UniqueFd OpenById(pid_t pid) { return UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))); }

}  // namespace

std::shared_ptr<Process> Process::Open(pid_t pid, bool isChild) {
  UniqueFd pidFd = pid == ParentId() ? OpenParent() : OpenById(pid);
  if (!pidFd) return nullptr;
  auto process = std::make_shared<Process>(std::move(pidFd), isChild);
  process->Watch();
  return process;
}

Process::~Process() {
  if (!_isChild) StopWatching(_watchId);
}

void Process::Watch() {
  // A child has to be reaped also when its last handle has been closed, so its watch keeps the
  // object alive. The watch of any other process must not: only the destructor takes it away.
  std::shared_ptr<Process> kept;
  if (_isChild) kept = std::static_pointer_cast<Process>(shared_from_this());
  const std::weak_ptr<Object> weak = weak_from_this();
  // A process that has ended already calls OnEnded at once, on the reactor's thread. OnEnded takes
  // this lock before it reads the watch's id, and so finds it written.
  std::lock_guard lock(EngineLock());
  _watchId = WatchDescriptor(_pidFd.Get(), EPOLLIN, [kept, weak] {
    if (const auto process = weak.lock()) static_cast<Process&>(*process).OnEnded();
  });
}

void Process::OnEnded() {
  std::uint64_t watchId = 0;
  {
    std::lock_guard lock(EngineLock());
    Reap();
    SignalWaiters();
    watchId = _watchId;
  }
  StopWatching(watchId);
}

bool Process::HasEnded() const { return HasEvent(_pidFd.Get(), POLLIN); }

void Process::Reap() {
  if (std::exchange(_hasEnded, true)) return;
  siginfo_t status{};
  if (_isChild && waitid(static_cast<idtype_t>(P_PIDFD), static_cast<id_t>(_pidFd.Get()), &status,
                         WEXITED) == 0) {
    const auto value = static_cast<DWORD>(status.si_status);
    _isExitCodeKnown = true;
    _exitCode = status.si_code == CLD_EXITED ? value : kEndedBySignal + value;
    _wasKilledByUs &= status.si_code == CLD_KILLED && value == SIGKILL;
  }
  if (!_wasKilledByUs) return;
  _isExitCodeKnown = true;
  _exitCode = _killExitCode;
}

DWORD Process::Kill(DWORD exitCode) {
  std::lock_guard lock(EngineLock());
  if (IsSignalled(Thread::Current())) return ERROR_ACCESS_DENIED;
  if (syscall(SYS_pidfd_send_signal, _pidFd.Get(), SIGKILL, nullptr, 0) != 0) {
    return ErrorFromErrno(errno);
  }
  _wasKilledByUs = true;
  _killExitCode = exitCode;
  return ERROR_SUCCESS;
}

DWORD Process::GetExitCode(DWORD& exitCode) {
  std::lock_guard lock(EngineLock());
  if (HasEnded()) Reap();
  exitCode = _hasEnded ? _exitCode : STILL_ACTIVE;
  return !_hasEnded || _isExitCodeKnown ? ERROR_SUCCESS : ERROR_NOT_SUPPORTED;
}

bool Process::IsSignalled(const Thread&) {
  if (!_hasEnded && HasEnded()) Reap();
  return _hasEnded;
}

}  // namespace platform

using platform::Fail;
using platform::KernelScope;
using platform::Process;

namespace {
BOOL Report(DWORD error) { return error == ERROR_SUCCESS ? TRUE : Fail(error); }
}  // namespace

DWORD GetCurrentProcessId() {
  static std::atomic<DWORD> ownId{0};  // A crash report asks, too, from a signal handler.
  DWORD id = ownId.load(std::memory_order_relaxed);
  if (id == 0) ownId = id = static_cast<DWORD>(getpid());
  return id;
}

HANDLE GetCurrentProcess() { return INVALID_HANDLE_VALUE; }  // The system's value for it, too.

void ExitProcess(UINT exitCode) {
  platform::RunProcessExitHooks();
  _exit(static_cast<int>(exitCode));
}

HANDLE OpenProcess(DWORD, BOOL, DWORD processId) {
  KernelScope scope;
  const auto process = Process::Open(static_cast<pid_t>(processId), false);
  if (process) return platform::InsertHandle(process);
  platform::FailWithErrno();
  return nullptr;
}

BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode) {
  KernelScope scope;
  const auto target = platform::Lookup<Process>(process);
  if (!target) return FALSE;
  return Report(target->GetExitCode(*exitCode));
}

BOOL TerminateProcess(HANDLE process, UINT exitCode) {
  if (process == GetCurrentProcess()) _exit(static_cast<int>(exitCode));
  KernelScope scope;
  const auto target = platform::Lookup<Process>(process);
  if (!target) return FALSE;
  return Report(target->Kill(exitCode));
}
