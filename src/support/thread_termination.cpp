#include "support/thread_termination.h"

#include "support/oevent_log.h"

void TerminateBetweenLogLines(HANDLE thread, DWORD exitCode) {
  const StdBrennick::shared_ptr<OEventLog> log = Z7SvEventLog;
  if (!log) {
    TerminateThread(thread, exitCode);
    return;
  }
  OAutoLock lock(log->WriteLock());
  TerminateThread(thread, exitCode);
}
