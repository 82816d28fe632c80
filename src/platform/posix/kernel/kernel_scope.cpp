#include "platform/posix/kernel/kernel_scope.h"

#include <limits.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <mutex>

#include "platform/posix/kernel/signals.h"

namespace platform {
namespace {

// The signal handler reads it: no lazy allocation of thread-local storage may stand behind it.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::atomic<const std::atomic<bool>*>
    t_terminationFlag{nullptr};

/// The C library reuses the memory of a thread that has ended for a new one and relies on each
/// thread to have emptied its thread-specific values. Their destructors do not run: no code of the
/// thread runs any more.
void ForgetThreadSpecificValues() {
  for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) pthread_setspecific(key, nullptr);
}

void OnTerminationSignal(int, siginfo_t*, void*) {
  if (t_kernelDepth.Get() == 0) EndIfPending();
}

/// Calls in a scope go on after the signal; the sleeps of the layer are woken by other means.
void InstallSignalHandler() { HandleSignal(TerminationSignal(), OnTerminationSignal); }

}  // namespace

constinit thread_local ScopeDepth t_kernelDepth;

void EndIfPending() {
  if (IsTerminationPending()) LeaveThreadRaw();
}

KernelPause::KernelPause() : _depth(t_kernelDepth.Get()) {
  t_kernelDepth.Set(0);
  EndIfPending();
}

KernelPause::~KernelPause() { t_kernelDepth.Set(_depth); }

int KernelDepth() { return t_kernelDepth.Get(); }

void ReturnToKernelDepth(int depth) {
  t_kernelDepth.Set(depth);
  if (depth == 0) EndIfPending();
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

void EnterKernelForGood() { t_kernelDepth.Change(1); }

void SendTerminationSignal(pthread_t thread) { pthread_kill(thread, TerminationSignal()); }

void LeaveThreadRaw() {
  ForgetThreadSpecificValues();
  for (;;) syscall(SYS_exit, 0);
}

}  // namespace platform
