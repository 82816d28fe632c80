#include "platform/posix/kernel/no_throw_scope.h"

#include <atomic>

namespace platform {
namespace {

// Signal handlers read this: no lazy allocation of thread-local storage may stand behind it.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::atomic<int> t_depth{0};

void ChangeDepth(int by) {
  t_depth.store(t_depth.load(std::memory_order_relaxed) + by, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

}  // namespace

NoThrowScope::NoThrowScope() { ChangeDepth(1); }

NoThrowScope::~NoThrowScope() { ChangeDepth(-1); }

bool IsInNoThrowScope() { return t_depth.load(std::memory_order_relaxed) != 0; }

}  // namespace platform
