/// Marks the calls of the C library's heap.
///
/// A thread that is terminated or thrown out of an allocation leaves the heap's lock held, and
/// every other thread stops at its next one. So a HeapScope is a KernelScope, which keeps
/// TerminateThread out, and the crash handler asks whether the thread is inside one.
#pragma once

#include "platform/posix/kernel/kernel_scope.h"

namespace platform {

class HeapScope {
 public:
  HeapScope();
  ~HeapScope();
  HeapScope(const HeapScope&) = delete;
  HeapScope& operator=(const HeapScope&) = delete;

 private:
  KernelScope _kernel;
};

/// Whether the calling thread is inside the heap. May be called in signal handlers.
bool IsInsideHeap();

}  // namespace platform
