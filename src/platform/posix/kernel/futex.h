/// Words that threads sleep on, and until when.
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

using FutexWord = std::atomic<std::uint32_t>;

/// Sleeps while the word has the value; may also return before it changes. False when the deadline
/// has passed. May be called in signal handlers, as FutexWake may.
bool FutexWait(FutexWord& word, std::uint32_t value, const Deadline& deadline);

/// Wakes every thread of this process that sleeps on the word.
void FutexWake(FutexWord& word);

}  // namespace platform
