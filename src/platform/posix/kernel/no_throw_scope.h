/// Marks the calls of the C library that must not be left by an exception: those of its heap and of
/// its loader.
///
/// A thread that is thrown out of one leaves a lock held, and every other thread stops at its next
/// call. The crash handler therefore asks whether the thread is inside one.
#pragma once

#include "platform/posix/kernel/kernel_scope.h"

namespace platform {

[[gnu::tls_model("initial-exec")]] extern constinit thread_local ScopeDepth t_noThrowDepth;

/// May be nested.
class NoThrowScope {
 public:
  NoThrowScope() { t_noThrowDepth.Change(1); }
  ~NoThrowScope() { t_noThrowDepth.Change(-1); }
  NoThrowScope(const NoThrowScope&) = delete;
  NoThrowScope& operator=(const NoThrowScope&) = delete;
};

/// The heap: TerminateThread is kept out as well, which would leave its lock held, too.
class HeapScope {
 private:
  KernelScope _kernel;
  NoThrowScope _noThrow;
};

/// Whether the calling thread is inside such a call. May be called in signal handlers.
bool IsInNoThrowScope();

}  // namespace platform
