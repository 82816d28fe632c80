#include "platform/posix/kernel/crash_site.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace platform {
namespace {

// Signal handlers read these: no lazy allocation of thread-local storage may stand behind them.
[[gnu::tls_model("initial-exec")]] constinit thread_local CrashSite* t_site = nullptr;
[[gnu::tls_model("initial-exec")]] constinit thread_local ThreadStack t_stack;

constexpr std::size_t kPageBytes = 4096;

constexpr std::size_t SiteBytes() {
  return (sizeof(CrashSite) + kPageBytes - 1) / kPageBytes * kPageBytes;
}
constexpr std::size_t kMappedBytes = SiteBytes() + 2 * kPageBytes;

/// For a main thread this reads the system's list of mappings, which no signal handler may do.
ThreadStack FindStack() {
  ThreadStack stack;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return stack;
  void* low = nullptr;
  std::size_t sizeBytes = 0;
  pthread_attr_getstack(&attributes, &low, &sizeBytes);
  std::size_t guardBytes = 0;
  pthread_attr_getguardsize(&attributes, &guardBytes);
  pthread_attr_destroy(&attributes);
  stack.low = reinterpret_cast<ULONG_PTR>(low);
  stack.high = stack.low + sizeBytes;
  stack.reserveBytes = guardBytes > kPageBytes ? guardBytes - kPageBytes : 0;
  return stack;
}

bool UseAlternateStack(CrashSite& site) {
  const stack_t stack = {
      .ss_sp = site.alternateStack, .ss_flags = 0, .ss_size = CrashSite::kAlternateStackBytes};
  return sigaltstack(&stack, nullptr) == 0;
}

/// 0 for a thread whose stack does not grow, or may grow without end.
rlim_t GrowthLimit() {
  rlimit limit{};
  if (gettid() != getpid() || getrlimit(RLIMIT_STACK, &limit) != 0) return 0;
  return limit.rlim_cur == RLIM_INFINITY ? 0 : limit.rlim_cur;
}

/// The stack of the main thread grows, up to the process's limit, when it is touched.
void SetGrowthLimit(rlim_t bytes) {
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) != 0) return;
  limit.rlim_cur = std::min(bytes, limit.rlim_max);
  setrlimit(RLIMIT_STACK, &limit);
}

void ProtectStackReserve(int protection) {
  mprotect(reinterpret_cast<void*>(t_stack.low - t_stack.reserveBytes), t_stack.reserveBytes,
           protection);
}

}  // namespace

OwnedCrashSite PrepareCrashSite() {
  void* const mapped =
      mmap(nullptr, kMappedBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  BYTE* const memory = static_cast<BYTE*>(mapped) + kPageBytes;
  if (mprotect(memory, SiteBytes(), PROT_READ | PROT_WRITE) != 0) {
    munmap(mapped, kMappedBytes);
    return nullptr;
  }
  // Not value-initialized: that would write to it.
  OwnedCrashSite site(new (memory) CrashSite);
  t_stack = FindStack();
  t_stack.growthLimitBytes = GrowthLimit();
  CloseStackReserve();  // The stack may be that of a thread which has ended with it open.
  if (!UseAlternateStack(*site)) return nullptr;
  t_site = site.get();
  return site;
}

void CrashSiteDeleter::operator()(CrashSite* site) const {
  LeaveAlternateStack(*site);
  munmap(reinterpret_cast<BYTE*>(site) - kPageBytes, kMappedBytes);
}

bool LeaveAlternateStack(const CrashSite& site) {
  if (t_site == &site) {
    t_site = nullptr;
    t_stack = {};
  }
  stack_t stack{};
  sigaltstack(nullptr, &stack);
  if (stack.ss_sp != site.alternateStack) return true;
  stack.ss_flags = SS_DISABLE;
  return sigaltstack(&stack, nullptr) == 0;
}

void OpenStackReserve() {
  if (t_stack.growthLimitBytes != 0) SetGrowthLimit(t_stack.growthLimitBytes + kStackGuardBytes);
  ProtectStackReserve(PROT_READ | PROT_WRITE);
}

void CloseStackReserve() {
  if (t_stack.growthLimitBytes != 0) SetGrowthLimit(t_stack.growthLimitBytes);
  ProtectStackReserve(PROT_NONE);
}

CrashSite* CurrentCrashSite() { return t_site; }

const ThreadStack& CurrentStack() { return t_stack; }

const CrashSite* FindCrashSite(const EXCEPTION_POINTERS* pointers) {
  return t_site != nullptr && pointers == &t_site->pointers ? t_site : nullptr;
}

AccessKind AccessOf(const void* signalContext) {
  // Bits of the processor's error code of a page fault.
  constexpr greg_t kWriting = 0x2;
  constexpr greg_t kFetchingInstruction = 0x10;
  const greg_t error = static_cast<const ucontext_t*>(signalContext)->uc_mcontext.gregs[REG_ERR];
  if ((error & kFetchingInstruction) != 0) return AccessKind::kExecute;
  return (error & kWriting) != 0 ? AccessKind::kWrite : AccessKind::kRead;
}

void CopyRegisters(const void* signalContext, CONTEXT& context) {
  const mcontext_t& machine = static_cast<const ucontext_t*>(signalContext)->uc_mcontext;
  const auto value = [&](int index) { return static_cast<ULONGLONG>(machine.gregs[index]); };
  context = {};
  context.ContextFlags = CONTEXT_ALL;
  context.SegCs = static_cast<WORD>(value(REG_CSGSFS));
  context.SegGs = static_cast<WORD>(value(REG_CSGSFS) >> 16);
  context.SegFs = static_cast<WORD>(value(REG_CSGSFS) >> 32);
  context.SegSs = static_cast<WORD>(value(REG_CSGSFS) >> 48);
  context.EFlags = static_cast<DWORD>(value(REG_EFL));
  const struct {
    ULONGLONG CONTEXT::*member;
    int index;
  } kRegisters[] = {
      {&CONTEXT::Rax, REG_RAX}, {&CONTEXT::Rcx, REG_RCX}, {&CONTEXT::Rdx, REG_RDX},
      {&CONTEXT::Rbx, REG_RBX}, {&CONTEXT::Rsp, REG_RSP}, {&CONTEXT::Rbp, REG_RBP},
      {&CONTEXT::Rsi, REG_RSI}, {&CONTEXT::Rdi, REG_RDI}, {&CONTEXT::R8, REG_R8},
      {&CONTEXT::R9, REG_R9},   {&CONTEXT::R10, REG_R10}, {&CONTEXT::R11, REG_R11},
      {&CONTEXT::R12, REG_R12}, {&CONTEXT::R13, REG_R13}, {&CONTEXT::R14, REG_R14},
      {&CONTEXT::R15, REG_R15}, {&CONTEXT::Rip, REG_RIP},
  };
  for (const auto& entry : kRegisters) context.*entry.member = value(entry.index);
  if (machine.fpregs == nullptr) return;
  static_assert(sizeof *machine.fpregs == sizeof context.FltSave);
  std::memcpy(context.FltSave, machine.fpregs, sizeof context.FltSave);
  context.MxCsr = machine.fpregs->mxcsr;
}

}  // namespace platform
