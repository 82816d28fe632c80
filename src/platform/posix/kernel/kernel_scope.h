/// Keeps TerminateThread out of the layer's own critical work.
///
/// Every call of the layer opens a KernelScope. A thread that is to be terminated while it is
/// inside one ends when it leaves its outermost scope, so no lock or table of the layer is ever
/// left half changed. A blocking call sleeps only in the two places that a termination wakes:
/// ThreadWaker (a futex word) and the sleep of blocking_io.h (a signal); it then unwinds normally
/// and ends at the scope's end. Outside a scope the thread ends at once, in the handler of the
/// termination signal, through the raw exit system call: no destructor runs.
#pragma once

#include <pthread.h>

#include <atomic>

namespace platform {

class KernelScope {
 public:
  KernelScope();
  /// Does not return when this is the outermost scope and the thread is to be terminated.
  ~KernelScope();
  KernelScope(const KernelScope&) = delete;
  KernelScope& operator=(const KernelScope&) = delete;
};

/// Leaves every scope of the calling thread while it lives, for a sleep that nothing but the raw
/// exit can end. No lock of the layer may be held, and what the frames below own leaks when the
/// thread is terminated here.
class KernelPause {
 public:
  KernelPause();
  ~KernelPause();
  KernelPause(const KernelPause&) = delete;
  KernelPause& operator=(const KernelPause&) = delete;

 private:
  int _depth;
};

/// Whether the calling thread is to be terminated: a blocking call of the layer gives up then.
bool IsTerminationPending();

/// Says where the calling thread finds out that it is to be terminated; null: it never is. The flag
/// outlives the thread or the next call.
void BindTerminationFlag(const std::atomic<bool>* flag);

/// How many scopes of the calling thread are open.
int KernelDepth();
/// Counts those as left that were opened since; for a jump over their frames.
void ReturnToKernelDepth(int depth);

/// Opens a scope that is never left: the rest of a thread that ends by itself.
void EnterKernelForGood();

/// Makes `thread`, whose flag has been set, look at it. The thread is neither joined nor detached.
void SendTerminationSignal(pthread_t thread);

/// Ends the calling thread without running anything of it; it must be joined to free its stack.
[[noreturn]] void LeaveThreadRaw();

}  // namespace platform
