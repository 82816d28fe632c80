#include "host/end_deadline.h"

#include <atomic>
#include <iterator>

#include "host/watch_parent.h"
#include "support/thread_start.h"

namespace {

/// Null until StartEndDeadline; never closed, because any thread may signal it to the very end.
std::atomic<HANDLE> g_endHasBegun{nullptr};

/// How long the process's start waits for the thread to run.
constexpr DWORD kMaxStartMs = 5000;

/// What the thread waits with; never given back, like the thread itself.
struct Deadline {
  DWORD maxEndMs;
  HANDLE isKept;
};

/// It has no exception handler and no log: both need what may be lost when it has work to do.
unsigned __stdcall KeepDeadline(void* parameter) {
  const auto& deadline = *static_cast<const Deadline*>(parameter);
  SetEvent(deadline.isKept);
  const ScopedHandle parent = OpenParent();
  const HANDLE ends[] = {g_endHasBegun, parent.Get()};
  WaitForMultipleObjects(parent.IsValid() ? std::size(ends) : 1, ends, FALSE, INFINITE);
  Sleep(deadline.maxEndMs);
  // Not ExitProcess, which waits for the loader. It does not return.
  return TerminateProcess(GetCurrentProcess(), 0);
}

}  // namespace

void StartEndDeadline(DWORD maxEndMs) {
  static Deadline deadline{maxEndMs, CreateManualResetEvent()};
  g_endHasBegun = CreateManualResetEvent();
  if (g_endHasBegun == nullptr) return;
  const ScopedHandle thread(StartThread(KeepDeadline, &deadline));
  if (thread.IsValid()) WaitForSingleObject(deadline.isKept, kMaxStartMs);
}

void BeginEnd() {
  if (const HANDLE event = g_endHasBegun; event != nullptr) SetEvent(event);
}
