#include "support/thread_termination.h"

#include "support/oevent_log.h"

namespace {

/// How long a terminated thread may take to be gone.
constexpr DWORD kTerminatedThreadEndMs = 1000;

// TerminateThread may return while the thread still runs for a moment.
void TerminateAndWait(HANDLE thread, DWORD exitCode) {
  TerminateThread(thread, exitCode);
  WaitForSingleObject(thread, kTerminatedThreadEndMs);
}

}  // namespace

void TerminateBetweenLogLines(HANDLE thread, DWORD exitCode) {
  const StdBrennick::shared_ptr<OEventLog> log = Z7SvEventLog;
  if (!log) {
    TerminateAndWait(thread, exitCode);
    return;
  }
  OAutoLock lock(log->WriteLock());
  TerminateAndWait(thread, exitCode);
}
