#include "managed/host/signal_stack.h"

#include <mono/metadata/profiler.h>
#include <signal.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

namespace Managed {
namespace {

/// As much as the program's own threads have. The runtime gives 16 KiB.
constexpr std::size_t kStackBytes = 128 * 1024;

/// The calling thread's signal stack, as long as the thread lives.
class SignalStack {
 public:
  SignalStack() {
    if (_memory == MAP_FAILED) return;  // It keeps the small one.
    const stack_t stack{.ss_sp = _memory, .ss_flags = 0, .ss_size = kStackBytes};
    sigaltstack(&stack, nullptr);
  }
  ~SignalStack() {
    if (_memory == MAP_FAILED) return;
    stack_t stack{};
    sigaltstack(nullptr, &stack);
    if (stack.ss_sp == _memory) {
      stack.ss_flags = SS_DISABLE;
      sigaltstack(&stack, nullptr);
    }
    munmap(_memory, kStackBytes);
  }
  SignalStack(const SignalStack&) = delete;
  SignalStack& operator=(const SignalStack&) = delete;

 private:
  void* const _memory = mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
};

void OnThreadStarted(MonoProfiler*, std::uintptr_t) { static thread_local const SignalStack stack; }

}  // namespace

void GiveThreadsRoomForHandlers() {
  mono_profiler_set_thread_started_callback(mono_profiler_create(nullptr), OnThreadStarted);
}

}  // namespace Managed
