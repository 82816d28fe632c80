#include "host/end_deadline.h"

#include <atomic>
#include <utility>

#include "host/watch_parent.h"

namespace {

/// Null until StartEndDeadline; never closed, because any thread may signal it to the very end.
std::atomic<HANDLE> g_endHasBegun{nullptr};

/// How long the process's start waits for the thread to run.
constexpr DWORD kMaxStartMs = 5000;

/// What the thread waits with; it is never freed, like the thread itself.
struct Deadline {
  DWORD maxEndMs;
  ScopedHandle isKept;
};

/// It has no exception handler and no log: both need what may be lost when it has work to do.
unsigned __stdcall KeepDeadline(void* parameter) {
  const auto& deadline = *static_cast<const Deadline*>(parameter);
  SetEvent(deadline.isKept.Get());
  const ScopedHandle parent = OpenParent();
  const HANDLE ends[] = {g_endHasBegun, parent.Get()};
  WaitForMultipleObjects(parent.IsValid() ? 2 : 1, ends, FALSE, INFINITE);
  Sleep(deadline.maxEndMs);
  // Not ExitProcess, which waits for the loader.
  TerminateProcess(GetCurrentProcess(), 0);
  return 0;
}

}  // namespace

void StartEndDeadline(DWORD maxEndMs) {
  g_endHasBegun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ScopedHandle isKept(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (g_endHasBegun == nullptr || !isKept.IsValid()) return;
  auto* const deadline = new Deadline{maxEndMs, std::move(isKept)};
  const ScopedHandle thread(
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, KeepDeadline, deadline, 0, nullptr)));
  if (thread.IsValid()) {
    WaitForSingleObject(deadline->isKept.Get(), kMaxStartMs);
  } else {
    delete deadline;
  }
}

void BeginEnd() {
  if (const HANDLE event = g_endHasBegun; event != nullptr) SetEvent(event);
}
