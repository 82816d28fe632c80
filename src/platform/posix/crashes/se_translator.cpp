#include "platform/se_translator.h"

#include <signal.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

#include "platform/failed_instruction.h"
#include "platform/fatal_crash.h"
#include "platform/posix/crashes/failed_function.h"
#include "platform/posix/kernel/crash_site.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/no_throw_scope.h"
#include "platform/posix/kernel/signals.h"
#include "platform/posix/kernel/sizes.h"
#include "platform/posix/kernel/thread.h"

using platform::CrashSite;
using platform::KernelScope;
using platform::Thread;

namespace {

// The signal handler reads these: no lazy allocation of thread-local storage may stand behind them.
[[gnu::tls_model("initial-exec")]] constinit thread_local SeTranslator t_translator = nullptr;
/// Until the translator is called: what fails meanwhile cannot be translated.
[[gnu::tls_model("initial-exec")]] constinit thread_local bool t_isPreparing = false;

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};

/// What was installed for each signal before.
struct sigaction g_previous[std::size(kSignals)];

/// How far from the end of the stack an overflowing thread may be, and how far beyond its stack
/// pointer it may touch memory: more than a frame of ordinary size.
constexpr ULONG_PTR kStackEndBytes = 256 * platform::kKiB;

bool HasStackOverflown(ULONG_PTR stackPointer, ULONG_PTR address) {
  const ULONG_PTR low = platform::CurrentStack().low;
  return low != 0 && stackPointer < low + kStackEndBytes && stackPointer + kStackEndBytes > low &&
         address < low && address + kStackEndBytes > stackPointer;
}

DWORD CodeOfFailedArithmetic(int reason, const CONTEXT& context) {
  switch (reason) {
    case FPE_INTDIV:
      // The processor has one fault for both, which Linux gives one name.
      return platform::HasQuotientOverflown(context) ? EXCEPTION_INT_OVERFLOW
                                                     : EXCEPTION_INT_DIVIDE_BY_ZERO;
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

/// Whether the fault was the processor's general protection, which has no address: a privileged
/// instruction, or an address that no memory can have.
bool IsProtectionFault(int signal, const siginfo_t& info) {
  return signal == SIGSEGV && info.si_code == SI_KERNEL;
}

DWORD CodeOfFailedAccess(const siginfo_t& info, const CONTEXT& context) {
  if (IsProtectionFault(SIGSEGV, info)) {
    const bool isPrivileged = platform::IsPrivileged(reinterpret_cast<const BYTE*>(context.Rip));
    return isPrivileged ? EXCEPTION_PRIV_INSTRUCTION : EXCEPTION_ACCESS_VIOLATION;
  }
  const auto address = reinterpret_cast<ULONG_PTR>(info.si_addr);
  return HasStackOverflown(context.Rsp, address) ? EXCEPTION_STACK_OVERFLOW
                                                 : EXCEPTION_ACCESS_VIOLATION;
}

DWORD CodeOf(int signal, const siginfo_t& info, const CONTEXT& context) {
  switch (signal) {
    case SIGFPE:
      return CodeOfFailedArithmetic(info.si_code, context);
    case SIGILL:
      return EXCEPTION_ILLEGAL_INSTRUCTION;
    case SIGTRAP:
      return EXCEPTION_BREAKPOINT;
    case SIGBUS:
      return info.si_code == BUS_ADRALN ? EXCEPTION_DATATYPE_MISALIGNMENT : EXCEPTION_IN_PAGE_ERROR;
    default:
      return CodeOfFailedAccess(info, context);
  }
}

void DescribeCrash(int signal, const siginfo_t& info, const ucontext_t& registers,
                   EXCEPTION_POINTERS& pointers) {
  CONTEXT& context = *pointers.ContextRecord;
  EXCEPTION_RECORD& record = *pointers.ExceptionRecord;
  platform::CopyRegisters(&registers, context);
  record = {};
  record.ExceptionCode = CodeOf(signal, info, context);
  record.ExceptionAddress = reinterpret_cast<void*>(context.Rip);
  if (signal != SIGSEGV && signal != SIGBUS) return;
  if (record.ExceptionCode == EXCEPTION_PRIV_INSTRUCTION) return;
  constexpr ULONG_PTR kUnknownAddress = ~ULONG_PTR{0};
  record.NumberParameters = 2;
  record.ExceptionInformation[0] = platform::AccessOf(&registers);
  record.ExceptionInformation[1] =
      IsProtectionFault(signal, info) ? kUnknownAddress : reinterpret_cast<ULONG_PTR>(info.si_addr);
}

/// Copies any memory: a sanitizer's memcpy would stop at the gaps between a function's variables.
void CopyBytes(BYTE* to, const void* from, std::size_t count) {
  asm volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(count) : : "memory");
}

void CopyStack(CrashSite& site) {
  const platform::ThreadStack& stack = platform::CurrentStack();
  const ULONG_PTR start = std::max(site.context.Rsp - platform::kRedZoneBytes, stack.low);
  site.copyBytes = 0;
  if (start >= stack.high) return;
  site.copyStart = start;
  site.copyBytes = std::min(stack.high - start, CrashSite::kStackCopyBytes);
  CopyBytes(site.stackCopy, reinterpret_cast<const void*>(start), site.copyBytes);
}

/// Lets the signal come again: the instruction fails anew, or the signal is sent once more.
void LeaveToPreviousHandler(int signal, const siginfo_t& info) {
  const auto index = std::find(std::begin(kSignals), std::end(kSignals), signal) - kSignals;
  sigaction(signal, &g_previous[index], nullptr);
  if (info.si_code <= 0) syscall(SYS_tgkill, getpid(), gettid(), signal);
}

/// Returns, with the registers as they were, when the translator does.
void Translate(int signal, const siginfo_t& info, ucontext_t& registers, CrashSite& site) {
  t_isPreparing = true;
  site.pointers = {&site.record, &site.context};
  DescribeCrash(signal, info, registers, site.pointers);
  CopyStack(site);
  if (site.record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) platform::OpenStackReserve();
  gregset_t original;
  std::memcpy(original, registers.uc_mcontext.gregs, sizeof original);
  platform::LeaveFailedFunction(registers);
  t_isPreparing = false;
  t_translator(site.record.ExceptionCode, &site.pointers);
  std::memcpy(registers.uc_mcontext.gregs, original, sizeof original);
}

/// The thread need not have a site, and one that it has may describe the crash before.
void Report(int signal, const siginfo_t& info, const ucontext_t& registers) {
  EXCEPTION_RECORD record;
  CONTEXT context;
  EXCEPTION_POINTERS pointers{&record, &context};
  DescribeCrash(signal, info, registers, pointers);
  platform::ReportFatalCrash(&pointers);
}

/// Runs on the alternate stack, which is free for the next crash as soon as the translator's
/// exception has left it. The unwinding closes the scopes of the layer that were open, as it
/// destroys any other object on the stack.
void OnCrash(int signal, siginfo_t* info, void* context) {
  auto& registers = *static_cast<ucontext_t*>(context);
  const bool isSent = info->si_code <= 0;
  // The registers point behind a breakpoint, and at every other instruction that failed.
  const bool isBreakpoint = info->si_code == SI_KERNEL || info->si_code == TRAP_BRKPT;
  if (signal == SIGTRAP && isBreakpoint) --registers.uc_mcontext.gregs[REG_RIP];
  if (!isSent) {
    CrashSite* const site = platform::CurrentCrashSite();
    const bool canTranslate = t_translator != nullptr && site != nullptr && !t_isPreparing &&
                              !platform::IsInNoThrowScope() && !platform::IsReportingFatalCrash();
    if (canTranslate) Translate(signal, *info, registers, *site);
    Report(signal, *info, registers);
  }
  LeaveToPreviousHandler(signal, *info);
}

void InstallSignalHandlers() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    // The handler is left by an exception, so the signal must not be blocked while it runs.
    platform::HandleSignal(kSignals[i], OnCrash, SA_NODEFER, &g_previous[i]);
  }
}

}  // namespace

int _resetstkoflw() {
  if (platform::CurrentCrashSite() != nullptr) platform::CloseStackReserve();
  return 1;
}

SeTranslator _set_se_translator(SeTranslator translator) {
  const KernelScope scope;
  static std::once_flag installed;
  std::call_once(installed, InstallSignalHandlers);
  Thread::Current().PrepareForCrash();
  return std::exchange(t_translator, translator);
}
