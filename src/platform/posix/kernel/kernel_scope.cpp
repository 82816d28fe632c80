#include "platform/posix/kernel/kernel_scope.h"

#include <limits.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <mutex>

#include "platform/posix/kernel/signals.h"

namespace platform {
namespace {

// The signal handler reads these: no lazy allocation of thread-local storage may stand behind them.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::atomic<int> t_depth{0};
[[gnu::tls_model("initial-exec")]] constinit thread_local std::atomic<const std::atomic<bool>*>
    t_terminationFlag{nullptr};

void ChangeDepth(int depth) {
  t_depth.store(depth, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

/// The C library reuses the memory of a thread that has ended for a new one and relies on each
/// thread to have emptied its thread-specific values. Their destructors do not run: no code of the
/// thread runs any more.
void ForgetThreadSpecificValues() {
  for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) pthread_setspecific(key, nullptr);
}

void EndIfPending() {
  if (t_depth.load(std::memory_order_relaxed) == 0 && IsTerminationPending()) LeaveThreadRaw();
}

void OnTerminationSignal(int) { EndIfPending(); }

void InstallSignalHandler() {
  struct sigaction action {};
  action.sa_handler = OnTerminationSignal;
  // Calls in a scope go on after the signal; the sleeps of the layer are woken by other means.
  action.sa_flags = SA_RESTART | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  sigaction(TerminationSignal(), &action, nullptr);
}

}  // namespace

KernelScope::KernelScope() { ChangeDepth(t_depth.load(std::memory_order_relaxed) + 1); }

KernelScope::~KernelScope() {
  ChangeDepth(t_depth.load(std::memory_order_relaxed) - 1);
  EndIfPending();
}

KernelPause::KernelPause() : _depth(t_depth.load(std::memory_order_relaxed)) {
  ChangeDepth(0);
  EndIfPending();
}

KernelPause::~KernelPause() { ChangeDepth(_depth); }

int KernelDepth() { return t_depth.load(std::memory_order_relaxed); }

void ReturnToKernelDepth(int depth) {
  ChangeDepth(depth);
  EndIfPending();
}

bool IsTerminationPending() {
  const auto* flag = t_terminationFlag.load(std::memory_order_relaxed);
  return flag != nullptr && flag->load();
}

void BindTerminationFlag(const std::atomic<bool>* flag) {
  static std::once_flag installed;
  std::call_once(installed, InstallSignalHandler);
  t_terminationFlag.store(flag, std::memory_order_relaxed);
}

void EnterKernelForGood() { ChangeDepth(t_depth.load(std::memory_order_relaxed) + 1); }

void SendTerminationSignal(pthread_t thread) { pthread_kill(thread, TerminationSignal()); }

void LeaveThreadRaw() {
  ForgetThreadSpecificValues();
  for (;;) syscall(SYS_exit, 0);
}

}  // namespace platform
