#include "host/end_deadline.h"

#include <atomic>
#include <cstdint>

namespace {

/// Null until StartEndDeadline; never closed, because any thread may signal it to the very end.
std::atomic<HANDLE> g_endHasBegun{nullptr};

/// It has no exception handler and no log: both need what may be lost when it has work to do.
unsigned __stdcall KeepDeadline(void* maxEndMs) {
  WaitForSingleObject(g_endHasBegun, INFINITE);
  Sleep(static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(maxEndMs)));
  // Not ExitProcess, which waits for the loader.
  TerminateProcess(GetCurrentProcess(), 0);
  return 0;
}

}  // namespace

void StartEndDeadline(DWORD maxEndMs) {
  g_endHasBegun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (g_endHasBegun == nullptr) return;
  const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(
      nullptr, 0, KeepDeadline, reinterpret_cast<void*>(std::uintptr_t{maxEndMs}), 0, nullptr));
  if (thread != nullptr) CloseHandle(thread);
}

void BeginEnd() {
  if (const HANDLE event = g_endHasBegun; event != nullptr) SetEvent(event);
}
