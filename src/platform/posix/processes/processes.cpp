#include "platform/posix/api/processes.h"

#include <unistd.h>

#include <memory>

#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/process_exit.h"
#include "platform/posix/processes/process.h"

using platform::Fail;
using platform::KernelScope;
using platform::Process;

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

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
  return target->GetExitCode(*exitCode) ? TRUE : Fail(ERROR_NOT_SUPPORTED);
}

BOOL TerminateProcess(HANDLE process, UINT exitCode) {
  if (process == GetCurrentProcess()) _exit(static_cast<int>(exitCode));
  KernelScope scope;
  const auto target = platform::Lookup<Process>(process);
  if (!target) return FALSE;
  return target->Kill(exitCode) ? TRUE : platform::FailWithErrno();
}
