#include "managed/host/signal_handlers.h"

#include <mono/metadata/appdomain.h>
#include <ucontext.h>

#include <algorithm>
#include <iterator>

#include "platform/posix/kernel/crash_site.h"

namespace Managed {
namespace {

constexpr int kSignalsOfRuntime[] = {SIGSEGV, SIGBUS, SIGFPE};

bool IsOfRuntime(int signal) {
  return std::ranges::find(kSignalsOfRuntime, signal) != std::end(kSignalsOfRuntime);
}

/// Those by which a process is ended, or finds that a peer has ended.
bool IsAboutEnds(int signal) {
  constexpr int kSignals[] = {SIGABRT, SIGTERM, SIGINT, SIGQUIT, SIGHUP, SIGPIPE};
  return std::ranges::find(kSignals, signal) != std::end(kSignals);
}

/// What SIGSEGV had when the runtime was started: the program's handler, and then the runtime's.
struct sigaction g_program;
struct sigaction g_runtime;

/// How far beyond its end native code may touch its stack: more than a frame of ordinary size.
constexpr ULONG_PTR kStackEndBytes = 256 * 1024;

/// Whether native code has run beyond the end of its stack. The runtime would end the process.
bool HasNativeStackOverflown(const siginfo_t& info, void* context) {
  const platform::CrashSite* const site = platform::CurrentCrashSite();
  const auto address = reinterpret_cast<ULONG_PTR>(info.si_addr);
  if (site == nullptr || address >= site->stackLow || address + kStackEndBytes < site->stackLow) {
    return false;
  }
  auto* const code =
      reinterpret_cast<char*>(static_cast<const ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP]);
  return mono_jit_info_table_find(mono_get_root_domain(), code) == nullptr;
}

void OnBadAccess(int signal, siginfo_t* info, void* context) {
  const bool isForProgram = info->si_code > 0 && HasNativeStackOverflown(*info, context);
  (isForProgram ? g_program : g_runtime).sa_sigaction(signal, info, context);
}

void GoBeforeRuntime() {
  sigaction(SIGSEGV, nullptr, &g_runtime);
  struct sigaction action = g_runtime;
  action.sa_sigaction = OnBadAccess;
  sigaction(SIGSEGV, &action, nullptr);
}

}  // namespace

SignalHandlers::SignalHandlers() {
  for (std::size_t i = 1; i < kCount; ++i) sigaction(static_cast<int>(i), nullptr, &_before[i]);
}

void SignalHandlers::Share() const {
  GiveBack();
  g_program = _before[SIGSEGV];
  if ((g_program.sa_flags & SA_SIGINFO) != 0) GoBeforeRuntime();
}

void SignalHandlers::GiveBack() const {
  for (int signal = 1; signal < static_cast<int>(kCount); ++signal) {
    const bool wasHandled = _before[signal].sa_handler != SIG_DFL;
    if ((wasHandled || IsAboutEnds(signal)) && !IsOfRuntime(signal)) {
      sigaction(signal, &_before[signal], nullptr);
    }
  }
}

}  // namespace Managed
