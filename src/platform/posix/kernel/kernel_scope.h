/// Keeps TerminateThread out of the layer's own critical work.
///
/// Every call of the layer opens a KernelScope. A thread that is to be terminated while it is inside
/// one ends when it leaves its outermost scope, so no lock or table of the layer is ever left half
/// changed. A blocking call sleeps only in the two places that a termination wakes: ThreadWaker (a
/// futex word) and the poll of blocking_io.h (an eventfd); it then unwinds normally and ends at the
/// scope's end.
#pragma once

namespace platform {

class KernelScope {
 public:
  KernelScope();
  /// Does not return when this is the outermost scope and the thread is to be terminated.
  ~KernelScope();
  KernelScope(const KernelScope&) = delete;
  KernelScope& operator=(const KernelScope&) = delete;
};

/// Whether the calling thread is to be terminated: a blocking call of the layer gives up then.
bool IsTerminationPending();

}  // namespace platform
