#include "platform/posix/processes/process.h"

#include <poll.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

#include "platform/posix/api/threads.h"
#include "platform/posix/kernel/reactor.h"
#include "platform/posix/kernel/thread.h"

namespace platform {
namespace {

/// What shells report for a process that a signal ended.
constexpr DWORD kEndedBySignal = 128;

}  // namespace

std::shared_ptr<Process> Process::Open(pid_t pid, bool isChild) {
  UniqueFd pidFd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  if (!pidFd) return nullptr;
  auto process = std::make_shared<Process>(std::move(pidFd), isChild);
  process->Watch();
  return process;
}

Process::~Process() {
  if (!_isChild) StopWatching(_watchId);
}

void Process::Watch() {
  // The watch keeps a child, which is to be reaped, and only looks at any other process.
  std::shared_ptr<Process> kept;
  if (_isChild) kept = std::static_pointer_cast<Process>(shared_from_this());
  const std::weak_ptr<Object> weak = weak_from_this();
  std::lock_guard lock(EngineLock());  // OnEnded needs the id.
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

bool Process::HasEnded() const {
  pollfd descriptor{_pidFd.Get(), POLLIN, 0};
  return poll(&descriptor, 1, 0) == 1;
}

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

bool Process::Kill(DWORD exitCode) {
  std::lock_guard lock(EngineLock());
  if (IsSignalled(Thread::Current())) {
    errno = EACCES;
    return false;
  }
  if (syscall(SYS_pidfd_send_signal, _pidFd.Get(), SIGKILL, nullptr, 0) != 0) return false;
  _wasKilledByUs = true;
  _killExitCode = exitCode;
  return true;
}

bool Process::GetExitCode(DWORD& exitCode) {
  std::lock_guard lock(EngineLock());
  if (HasEnded()) Reap();
  exitCode = _hasEnded ? _exitCode : STILL_ACTIVE;
  return !_hasEnded || _isExitCodeKnown;
}

bool Process::IsSignalled(const Thread&) {
  if (!_hasEnded && HasEnded()) Reap();
  return _hasEnded;
}

}  // namespace platform
