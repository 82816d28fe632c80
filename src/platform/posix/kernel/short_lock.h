/// A lock for what is held for some instructions only, on the way of each request.
#pragma once

#include "platform/posix/kernel/futex.h"

namespace platform {

/// Used like std::mutex. Taking or giving back a free one is one instruction in the caller's own
/// code; std::mutex calls a function of another library, and a request takes ten locks.
class ShortLock {
 public:
  void lock() {
    if (!try_lock()) Wait();
  }
  bool try_lock() {
    std::uint32_t expected = kFree;
    return _word.compare_exchange_strong(expected, kHeld, std::memory_order_acquire);
  }
  void unlock() {
    if (_word.exchange(kFree, std::memory_order_release) == kAwaited) FutexWake(_word);
  }

 private:
  enum : std::uint32_t { kFree, kHeld, kAwaited };

  // Whoever has waited cannot know whether others still do, so it holds the lock as awaited.
  void Wait() {
    while (_word.exchange(kAwaited, std::memory_order_acquire) != kFree) {
      FutexWait(_word, kAwaited, Deadline(INFINITE));
    }
  }

  FutexWord _word{kFree};
};

}  // namespace platform
