#include "managed/host/signal_handlers.h"

#include <mono/metadata/appdomain.h>
#include <ucontext.h>

#include <algorithm>
#include <iterator>

#include "managed/host/worker.h"
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

/// What each of those had when the runtime was started: the program's handler, then the runtime's.
struct Handlers {
  struct sigaction program;
  struct sigaction runtime;
};
Handlers g_handlers[std::size(kSignalsOfRuntime)];

Handlers& HandlersOf(int signal) {
  return g_handlers[std::ranges::find(kSignalsOfRuntime, signal) - kSignalsOfRuntime];
}

/// How far beyond its end native code may touch its stack: more than a frame of ordinary size.
constexpr ULONG_PTR kStackEndBytes = 256 * 1024;

/// Whether native code has run beyond the end of its stack. The runtime would end the process.
bool HasNativeStackOverflown(const siginfo_t& info, void* context) {
  const ULONG_PTR low = platform::CurrentStack().low;
  const auto address = reinterpret_cast<ULONG_PTR>(info.si_addr);
  if (address >= low || address + kStackEndBytes < low) return false;
  auto* const code =
      reinterpret_cast<char*>(static_cast<const ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP]);
  return mono_jit_info_table_find(mono_get_root_domain(), code) == nullptr;
}

/// The program's threads have a site each, and so have workers; the runtime's own have none.
bool IsForProgram(int signal, const siginfo_t& info, void* context) {
  if (platform::CurrentCrashSite() == nullptr) return false;
  return !Worker::IsCurrentThread() ||
         (signal == SIGSEGV && info.si_code > 0 && HasNativeStackOverflown(info, context));
}

/// Installed as the program's was, whose handler is left by an exception: no signal is blocked.
void OnFault(int signal, siginfo_t* info, void* context) {
  const Handlers& handlers = HandlersOf(signal);
  if (IsForProgram(signal, *info, context)) {
    handlers.program.sa_sigaction(signal, info, context);
    return;
  }
  sigset_t blocked = handlers.runtime.sa_mask;
  sigaddset(&blocked, signal);
  pthread_sigmask(SIG_BLOCK, &blocked, nullptr);  // Until the return from here.
  handlers.runtime.sa_sigaction(signal, info, context);
}

void GoBeforeRuntime(int signal, const struct sigaction& program) {
  if ((program.sa_flags & SA_SIGINFO) == 0) return;
  Handlers& handlers = HandlersOf(signal);
  handlers.program = program;
  sigaction(signal, nullptr, &handlers.runtime);
  struct sigaction action = program;
  action.sa_sigaction = OnFault;
  sigaction(signal, &action, nullptr);
}

}  // namespace

SignalHandlers::SignalHandlers() {
  for (std::size_t i = 1; i < kCount; ++i) sigaction(static_cast<int>(i), nullptr, &_before[i]);
}

void SignalHandlers::Share() const {
  GiveBack();
  for (const int signal : kSignalsOfRuntime) GoBeforeRuntime(signal, _before[signal]);
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
