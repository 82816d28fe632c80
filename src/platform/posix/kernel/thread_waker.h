/// How a thread sleeps until another thread or the clock wakes it.
#pragma once

#include "platform/posix/kernel/futex.h"

namespace platform {

/// A futex word: one thread sleeps on it, any thread wakes it. Read Sequence, then check what is
/// waited for, then sleep: a Wake in between is not lost.
class ThreadWaker {
 public:
  std::uint32_t Sequence() const { return _word.load(); }

  /// Sleeps until the sequence differs from `sequence`; may also return before that. False when the
  /// deadline has passed.
  bool Sleep(std::uint32_t sequence, const Deadline& deadline) {
    return FutexWait(_word, sequence, deadline);
  }

  void Wake() {
    ++_word;
    FutexWake(_word);
  }

 private:
  FutexWord _word{0};
};

}  // namespace platform
