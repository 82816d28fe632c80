#include "platform/posix/kernel/heap_scope.h"

#include <atomic>

namespace platform {
namespace {

// Signal handlers read this: no lazy allocation of thread-local storage may stand behind it.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::atomic<bool> t_isInside{false};

void SetInside(bool isInside) {
  t_isInside.store(isInside, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

}  // namespace

// No call of the heap leads to another one: the C library's entries do not come back to ours.
HeapScope::HeapScope() { SetInside(true); }

HeapScope::~HeapScope() { SetInside(false); }

bool IsInsideHeap() { return t_isInside.load(std::memory_order_relaxed); }

}  // namespace platform
