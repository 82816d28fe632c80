#include "platform/posix/kernel/wakeable_call.h"

#include <signal.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <cstdint>

#include "platform/posix/kernel/signals.h"

extern "C" {

long TagwrightWakeableCall(const volatile int* isWoken, long number, long first, long second,
                           long third, long fourth);
// From the look at the flag up to the end of the system call, and where a woken thread goes on.
extern const char TagwrightWakeableCallBegin[];
extern const char TagwrightWakeableCallEnd[];
extern const char TagwrightWakeableCallWoken[];
void TagwrightReturnFromSignal();

}  // extern "C"

// 4 is EINTR, 15 is rt_sigreturn.
asm(R"(
    .text
    .type TagwrightWakeableCall, @function
    .hidden TagwrightWakeableCall, TagwrightWakeableCallBegin, TagwrightWakeableCallEnd
    .hidden TagwrightWakeableCallWoken, TagwrightReturnFromSignal
    .globl TagwrightWakeableCall, TagwrightWakeableCallBegin, TagwrightWakeableCallEnd
    .globl TagwrightWakeableCallWoken, TagwrightReturnFromSignal
TagwrightWakeableCall:
    .cfi_startproc
    movq %rdi, %r11
    movq %rsi, %rax
    movq %rdx, %rdi
    movq %rcx, %rsi
    movq %r8, %rdx
    movq %r9, %r10
    xorl %r8d, %r8d
    xorl %r9d, %r9d
TagwrightWakeableCallBegin:
    cmpl $0, (%r11)
    jne TagwrightWakeableCallWoken
    syscall
TagwrightWakeableCallEnd:
    ret
TagwrightWakeableCallWoken:
    movq $-4, %rax
    ret
    .cfi_endproc
    .size TagwrightWakeableCall, . - TagwrightWakeableCall
    .type TagwrightReturnFromSignal, @function
TagwrightReturnFromSignal:
    movq $15, %rax
    syscall
    .size TagwrightReturnFromSignal, . - TagwrightReturnFromSignal
)");

namespace platform {
namespace {

// Both are written by the thread itself alone, in the signal's handler and outside of it.
[[gnu::tls_model("initial-exec")]] constinit thread_local volatile int t_isWoken = 0;
[[gnu::tls_model("initial-exec")]] constinit thread_local volatile int t_isCalling = 0;

/// What the kernel takes; the C library's structure is another one.
struct KernelSignalAction {
  void (*handler)(int, siginfo_t*, void*);
  unsigned long flags;
  void (*restorer)();
  std::uint64_t mask;
};

std::uint64_t WakeSignalBit() { return std::uint64_t{1} << (kWakeSignal - 1); }

__attribute__((no_sanitize("thread"))) void OnWake(int, siginfo_t*, void* context) {
  t_isWoken = 1;
  if (t_isCalling == 0) return;
  auto& interrupted = *static_cast<ucontext_t*>(context);
  auto& at = interrupted.uc_mcontext.gregs[REG_RIP];
  if (at >= reinterpret_cast<greg_t>(TagwrightWakeableCallBegin) &&
      at < reinterpret_cast<greg_t>(TagwrightWakeableCallEnd)) {
    at = reinterpret_cast<greg_t>(TagwrightWakeableCallWoken);
    return;
  }
  // It may have interrupted the handler of another signal, after which the kernel restarts the
  // call. So it comes again when that handler has returned: what runs until then runs with it
  // blocked.
  sigaddset(&interrupted.uc_sigmask, kWakeSignal);
  syscall(SYS_tgkill, getpid(), gettid(), kWakeSignal);
}

/// Past the C library, because a thread sanitizer puts off handlers that are installed through it.
bool InstallHandler() {
  constexpr unsigned long kHasRestorer = 0x04000000;
  const KernelSignalAction action{OnWake, SA_SIGINFO | SA_RESTART | SA_ONSTACK | kHasRestorer,
                                  TagwrightReturnFromSignal, 0};
  return syscall(SYS_rt_sigaction, kWakeSignal, &action, nullptr, sizeof action.mask) == 0;
}

void UnblockWakeSignal() {
  const std::uint64_t signals = WakeSignalBit();
  syscall(SYS_rt_sigprocmask, SIG_UNBLOCK, &signals, nullptr, sizeof signals);
}

}  // namespace

// Whoever started the thread may have blocked the signal.
void BecomeWakeable() {
  [[gnu::tls_model("initial-exec")]] static constinit thread_local bool isWakeable = false;
  if (isWakeable) return;
  static const bool isInstalled = InstallHandler();
  (void)isInstalled;
  UnblockWakeSignal();
  isWakeable = true;
}

long CallUntilWoken(long number, long first, long second, long third, long fourth) {
  t_isCalling = 1;
  const long result = TagwrightWakeableCall(&t_isWoken, number, first, second, third, fourth);
  t_isCalling = 0;
  if (t_isWoken != 0) {
    UnblockWakeSignal();  // The handler may have left it blocked, to come again.
    t_isWoken = 0;
  }
  return result;
}

void WakeFromCall(pthread_t thread) { pthread_kill(thread, kWakeSignal); }

}  // namespace platform
