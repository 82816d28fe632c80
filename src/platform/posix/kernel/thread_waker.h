/// How a thread sleeps until another thread or the clock wakes it.
#pragma once

#include <time.h>

#include <atomic>
#include <cstdint>

#include "platform/posix/api/base.h"

namespace platform {

/// A moment of the monotonic clock, or never.
class Deadline {
 public:
  /// `timeoutMs` from now; INFINITE: never.
  explicit Deadline(DWORD timeoutMs);

  /// Null for never.
  const timespec* When() const { return _never ? nullptr : &_when; }

 private:
  bool _never;
  timespec _when{};
};

/// A futex word: one thread sleeps on it, any thread wakes it. Read Sequence, then check what is
/// waited for, then sleep: a Wake in between is not lost.
class ThreadWaker {
 public:
  std::uint32_t Sequence() const { return _word.load(); }

  /// Sleeps until the sequence differs from `sequence`; may also return before that. False when the
  /// deadline has passed.
  bool Sleep(std::uint32_t sequence, const Deadline& deadline);

  void Wake();

 private:
  std::atomic<std::uint32_t> _word{0};
};

}  // namespace platform
