/// Keeps TerminateThread out of the layer's own critical work.
///
/// Every call of the layer that takes a lock or memory opens a KernelScope, and so does the heap
/// (heap.cpp). A thread that is to be terminated while it is inside a scope ends when it leaves its
/// outermost one, so no lock or table of the layer is ever left half changed. Outside a scope the
/// thread ends at once, in the handler of the termination signal, through the raw exit system call:
/// no destructor runs.
///
/// A termination wakes a thread in the two places where calls of the layer sleep for each other:
/// ThreadWaker (a futex word) and the sleep of blocking_io.h (a signal). The call then returns and
/// the thread ends at the end of its scope. The loader leaves its scopes (KernelPause), because
/// nothing wakes it; critical sections open no scope in the first place.
#pragma once

#include <pthread.h>

#include <atomic>

namespace platform {

/// How deep the calling thread is in scopes of one kind. Signal handlers read it: no lazy
/// allocation of thread-local storage may stand behind it. It is in the header because each call of
/// the heap goes through it twice.
class ScopeDepth {
 public:
  int Get() const { return _depth.load(std::memory_order_relaxed); }
  void Set(int depth) {
    _depth.store(depth, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }
  /// The new depth.
  int Change(int by) {
    const int depth = Get() + by;
    Set(depth);
    return depth;
  }

 private:
  std::atomic<int> _depth{0};
};

[[gnu::tls_model("initial-exec")]] extern constinit thread_local ScopeDepth t_kernelDepth;

/// Does not return when the calling thread, which is in no scope, is to be terminated.
void EndIfPending();

class KernelScope {
 public:
  KernelScope() { t_kernelDepth.Change(1); }
  /// Does not return when this is the outermost scope and the thread is to be terminated.
  ~KernelScope() {
    if (t_kernelDepth.Change(-1) == 0) EndIfPending();
  }
  KernelScope(const KernelScope&) = delete;
  KernelScope& operator=(const KernelScope&) = delete;
};

/// Leaves every scope of the calling thread while it lives, for a call that nothing but the raw
/// exit can end. The thread must hold no lock of the layer. When it is terminated here, what the
/// frames below own leaks.
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

/// Names the flag that tells the calling thread to end; with null it cannot be terminated. The flag
/// outlives the thread or the next call.
void BindTerminationFlag(const std::atomic<bool>* flag);

/// How many scopes of the calling thread are open.
int KernelDepth();
/// Treats every scope opened since as closed. Call it after a longjmp over their frames.
void ReturnToKernelDepth(int depth);

/// Opens a scope that is never closed, for the rest of a thread that is ending by itself.
void EnterKernelForGood();

/// Makes `thread`, whose flag has been set, look at it. The thread is neither joined nor detached.
void SendTerminationSignal(pthread_t thread);

/// Ends the calling thread without running anything of it; it must be joined to free its stack.
[[noreturn]] void LeaveThreadRaw();

}  // namespace platform
