#include "platform/fatal_crash.h"

#include <signal.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

#include "platform/posix/kernel/crash_site.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/signals.h"

namespace platform {
namespace {

std::atomic<FatalCrashHandler> g_handler{nullptr};
/// The id of the thread that reports; 0 until one does.
std::atomic<pid_t> g_reporter{0};
struct sigaction g_previousAbort;

/// The default action of the alarm's signal ends the process.
void BoundReport() {
  signal(SIGALRM, SIG_DFL);
  sigset_t alarmOnly;
  sigemptyset(&alarmOnly);
  sigaddset(&alarmOnly, SIGALRM);
  pthread_sigmask(SIG_UNBLOCK, &alarmOnly, nullptr);
  alarm(kLongestReportMs / 1000);
}

void DescribeAbort(const void* registers, EXCEPTION_POINTERS& pointers) {
  CopyRegisters(registers, *pointers.ContextRecord);
  *pointers.ExceptionRecord = {};
  pointers.ExceptionRecord->ExceptionCode = kAborted;
  pointers.ExceptionRecord->ExceptionAddress = reinterpret_cast<void*>(pointers.ContextRecord->Rip);
}

void OnAbort(int signal, siginfo_t* info, void* registers) {
  // Only the thread itself aborts; what another process sends is an order to end.
  if (info->si_code == SI_TKILL && info->si_pid == getpid()) {
    EXCEPTION_RECORD record;
    CONTEXT context;
    EXCEPTION_POINTERS pointers{&record, &context};
    DescribeAbort(registers, pointers);
    ReportFatalCrash(&pointers);
  }
  sigaction(signal, &g_previousAbort, nullptr);
  raise(signal);
}

void InstallAbortHandler() { HandleSignal(SIGABRT, OnAbort, SA_NODEFER, &g_previousAbort); }

}  // namespace

void SetFatalCrashHandler(FatalCrashHandler handler) {
  static std::once_flag installed;
  std::call_once(installed, InstallAbortHandler);
  g_handler = handler;
}

void ReportFatalCrash(EXCEPTION_POINTERS* pointers) {
  const FatalCrashHandler handler = g_handler;
  if (handler == nullptr) return;
  pid_t reporter = 0;
  if (g_reporter.compare_exchange_strong(reporter, gettid())) {
    EnterKernelForGood();  // TerminateThread must not cut the report off.
    BoundReport();
    handler(pointers);
    return;
  }
  if (reporter == gettid()) return;  // It crashed in its report, or reported before it aborted.
  for (;;) pause();
}

bool IsReportingFatalCrash() { return g_reporter == gettid(); }

}  // namespace platform
