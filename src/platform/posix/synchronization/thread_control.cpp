#include <sched.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/api/threads.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/thread.h"

using platform::Fail;
using platform::KernelScope;
using platform::Thread;

std::uintptr_t _beginthreadex(void* security, unsigned stackSizeBytes,
                              _beginthreadex_proc_type startAddress, void* argument,
                              unsigned initFlags, unsigned* threadId) {
  KernelScope scope;
  if (security != nullptr || initFlags != 0 || startAddress == nullptr) {
    errno = EINVAL;
    return 0;
  }
  const auto thread = Thread::Start(startAddress, argument, stackSizeBytes);
  if (!thread) return 0;
  if (threadId != nullptr) *threadId = thread->Id();
  return reinterpret_cast<std::uintptr_t>(platform::InsertHandle(thread));
}

void _endthreadex(unsigned exitCode) { Thread::Exit(exitCode); }

BOOL GetExitCodeThread(HANDLE thread, LPDWORD exitCode) {
  KernelScope scope;
  const auto target = platform::Lookup<Thread>(thread);
  if (!target) return FALSE;
  *exitCode = target->ExitCode();
  return TRUE;
}

BOOL TerminateThread(HANDLE thread, DWORD exitCode) {
  KernelScope scope;
  const auto target = platform::Lookup<Thread>(thread);
  if (!target) return FALSE;
  return target->Terminate(exitCode) ? TRUE : Fail(ERROR_ACCESS_DENIED);
}

DWORD GetCurrentThreadId() {
  // The id of every Thread; a crash report asks, too, from a signal handler.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local DWORD t_id = 0;
  if (t_id == 0) t_id = static_cast<DWORD>(gettid());
  return t_id;
}

void Sleep(DWORD milliseconds) {
  KernelScope scope;
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  const platform::Deadline deadline(milliseconds);
  platform::ThreadWaker& waker = Thread::Current().Waker();
  for (bool isInTime = true; isInTime;) {
    const auto sequence = waker.Sequence();
    if (platform::IsTerminationPending()) return;
    isInTime = waker.Sleep(sequence, deadline);
  }
}
