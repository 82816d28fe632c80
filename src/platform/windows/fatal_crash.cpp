#include "platform/fatal_crash.h"

#include <atomic>
#include <csignal>
#include <mutex>

namespace platform {
namespace {

std::atomic<FatalCrashHandler> g_handler{nullptr};
/// The id of the thread that reports; 0 until one does.
std::atomic<DWORD> g_reporter{0};

/// Set when the report begins. Null until there is a thread that waits for it.
std::atomic<HANDLE> g_reportBegins{nullptr};

DWORD WINAPI BoundReport(void* reportBegins) {
  WaitForSingleObject(reportBegins, INFINITE);
  Sleep(kLongestReportMs);
  TerminateProcess(GetCurrentProcess(), kAborted);
  return 0;
}

/// The thread is made while all is well: a new one needs the loader, which the crash may have
/// locked.
void PrepareBound() {
  constexpr SIZE_T kStackBytes = 64 * 1024;
  const HANDLE begins = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE thread = CreateThread(nullptr, kStackBytes, BoundReport, begins,
                                     STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (thread == nullptr) return;
  CloseHandle(thread);
  g_reportBegins = begins;
}

/// Called by abort, which ends the process when this returns.
void OnAbort(int) {
  EXCEPTION_RECORD record{};
  CONTEXT context{};
  EXCEPTION_POINTERS pointers{&record, &context};
  RtlCaptureContext(&context);
  record.ExceptionCode = kAborted;
  record.ExceptionAddress = reinterpret_cast<void*>(context.Rip);
  ReportFatalCrash(&pointers);
}

}  // namespace

void SetFatalCrashHandler(FatalCrashHandler handler) {
  static std::once_flag installed;
  std::call_once(installed, [] {
    PrepareBound();
    std::signal(SIGABRT, OnAbort);
  });
  g_handler = handler;
}

void ReportFatalCrash(EXCEPTION_POINTERS* pointers) {
  const FatalCrashHandler handler = g_handler;
  if (handler == nullptr) return;
  const DWORD self = GetCurrentThreadId();
  DWORD reporter = 0;
  if (g_reporter.compare_exchange_strong(reporter, self)) {
    if (const HANDLE begins = g_reportBegins; begins != nullptr) SetEvent(begins);
    handler(pointers);
    return;
  }
  if (reporter == self) return;  // It crashed in its report, or reported before it aborted.
  for (;;) Sleep(INFINITE);
}

bool IsReportingFatalCrash() { return g_reporter == GetCurrentThreadId(); }

}  // namespace platform
