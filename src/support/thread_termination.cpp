#include "support/thread_termination.h"

#include <optional>

#include "support/oevent_log.h"

namespace {

/// How long a terminated thread may take to be gone.
constexpr DWORD kTerminatedThreadEndMs = 1000;

}  // namespace

void TerminateBetweenLogLines(HANDLE thread, DWORD exitCode) {
  const StdBrennick::shared_ptr<OEventLog> log = Z7SvEventLog;
  std::optional<OAutoLock> lock;
  if (log) lock.emplace(log->WriteLock());
  // TerminateThread may return while the thread still runs for a moment.
  TerminateThread(thread, exitCode);
  WaitForSingleObject(thread, kTerminatedThreadEndMs);
}
