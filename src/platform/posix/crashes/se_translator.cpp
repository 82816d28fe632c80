#include "platform/se_translator.h"

#include <signal.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

#include "platform/posix/crashes/failed_function.h"
#include "platform/posix/kernel/crash_site.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/thread.h"

using platform::CrashSite;
using platform::KernelScope;
using platform::Thread;

namespace {

// The signal handler reads these: no lazy allocation of thread-local storage may stand behind them.
[[gnu::tls_model("initial-exec")]] constinit thread_local SeTranslator t_translator = nullptr;
[[gnu::tls_model("initial-exec")]] constinit thread_local CrashSite* t_site = nullptr;

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};

/// What was installed for each signal before.
struct sigaction g_previous[std::size(kSignals)];

/// How near to the end of the stack a thread that has used it up is, and how far beyond its stack
/// pointer it touches memory: more than a frame of ordinary size.
constexpr ULONG_PTR kStackEndBytes = 256 * 1024;

bool IsStackUsedUp(const CrashSite& site, ULONG_PTR address) {
  const ULONG_PTR stackPointer = site.context.Rsp;
  return site.stackLow != 0 && stackPointer < site.stackLow + kStackEndBytes &&
         stackPointer + kStackEndBytes > site.stackLow && address < site.stackLow &&
         address + kStackEndBytes > stackPointer;
}

DWORD CodeOfFailedArithmetic(int reason) {
  switch (reason) {
    case FPE_INTDIV:
      return EXCEPTION_INT_DIVIDE_BY_ZERO;
    case FPE_INTOVF:
      return EXCEPTION_INT_OVERFLOW;
    case FPE_FLTDIV:
      return EXCEPTION_FLT_DIVIDE_BY_ZERO;
    case FPE_FLTOVF:
      return EXCEPTION_FLT_OVERFLOW;
    case FPE_FLTUND:
      return EXCEPTION_FLT_UNDERFLOW;
    case FPE_FLTRES:
      return EXCEPTION_FLT_INEXACT_RESULT;
    default:
      return EXCEPTION_FLT_INVALID_OPERATION;
  }
}

DWORD CodeOf(int signal, const siginfo_t& info, const CrashSite& site) {
  switch (signal) {
    case SIGFPE:
      return CodeOfFailedArithmetic(info.si_code);
    case SIGILL:
      return EXCEPTION_ILLEGAL_INSTRUCTION;
    case SIGTRAP:
      return EXCEPTION_BREAKPOINT;
    case SIGBUS:
      return info.si_code == BUS_ADRALN ? EXCEPTION_DATATYPE_MISALIGNMENT : EXCEPTION_IN_PAGE_ERROR;
    default:
      return IsStackUsedUp(site, reinterpret_cast<ULONG_PTR>(info.si_addr))
                 ? EXCEPTION_STACK_OVERFLOW
                 : EXCEPTION_ACCESS_VIOLATION;
  }
}

void DescribeCrash(int signal, const siginfo_t& info, const ucontext_t& registers,
                   CrashSite& site) {
  platform::CopyRegisters(&registers, site.context);
  site.record = {};
  site.record.ExceptionCode = CodeOf(signal, info, site);
  site.record.ExceptionAddress = reinterpret_cast<void*>(site.context.Rip);
  if (signal != SIGSEGV && signal != SIGBUS) return;
  site.record.NumberParameters = 2;
  site.record.ExceptionInformation[0] = platform::AccessOf(&registers);
  site.record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(info.si_addr);
}

/// Of any memory: a sanitizer's memcpy would find the gaps between a function's variables.
void CopyBytes(BYTE* to, const void* from, std::size_t count) {
  asm volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(count) : : "memory");
}

void CopyStack(CrashSite& site) {
  const ULONG_PTR start = std::max(site.context.Rsp - platform::kRedZoneBytes, site.stackLow);
  site.copyBytes = 0;
  if (start >= site.stackHigh) return;
  site.copyStart = start;
  site.copyBytes = std::min(site.stackHigh - start, CrashSite::kStackCopyBytes);
  CopyBytes(site.stackCopy, reinterpret_cast<const void*>(start), site.copyBytes);
}

/// The signal comes again: at once when it is the instruction's doing, else by being sent again.
void LeaveToPreviousHandler(int signal, const siginfo_t& info) {
  const auto index = std::find(std::begin(kSignals), std::end(kSignals), signal) - kSignals;
  sigaction(signal, &g_previous[index], nullptr);
  if (info.si_code <= 0) syscall(SYS_tgkill, getpid(), gettid(), signal);
}

/// Returns, with the registers as they were, when the translator does.
void Translate(int signal, const siginfo_t& info, ucontext_t& registers) {
  DescribeCrash(signal, info, registers, *t_site);
  CopyStack(*t_site);
  if (t_site->record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) OpenStackReserve(*t_site);
  gregset_t original;
  std::memcpy(original, registers.uc_mcontext.gregs, sizeof original);
  platform::LeaveFailedFunction(registers);
  t_translator(t_site->record.ExceptionCode, &t_site->pointers);
  std::memcpy(registers.uc_mcontext.gregs, original, sizeof original);
}

/// Runs on the alternate stack, which is free for the next crash as soon as the translator's
/// exception has left it. Scopes of the layer that were open are closed by the unwinding, like any
/// other object on the stack.
void OnCrash(int signal, siginfo_t* info, void* context) {
  auto& registers = *static_cast<ucontext_t*>(context);
  const bool isSent = info->si_code <= 0;
  // Behind a breakpoint; every other instruction has yet to be executed.
  const bool isBreakpoint = info->si_code == SI_KERNEL || info->si_code == TRAP_BRKPT;
  if (signal == SIGTRAP && isBreakpoint) --registers.uc_mcontext.gregs[REG_RIP];
  if (t_translator != nullptr && t_site != nullptr && !isSent) Translate(signal, *info, registers);
  LeaveToPreviousHandler(signal, *info);
}

void InstallSignalHandlers() {
  struct sigaction action {};
  action.sa_sigaction = OnCrash;
  // The handler is left by an exception, so the signal must not be blocked while it runs.
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &action, &g_previous[i]);
  }
}

}  // namespace

int _resetstkoflw() {
  if (t_site != nullptr) CloseStackReserve(*t_site);
  return 1;
}

SeTranslator _set_se_translator(SeTranslator translator) {
  const KernelScope scope;
  static std::once_flag installed;
  std::call_once(installed, InstallSignalHandlers);
  t_site = Thread::Current().PrepareForCrash();
  return std::exchange(t_translator, translator);
}
