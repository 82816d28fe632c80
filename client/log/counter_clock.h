/// The time of the day at which the performance counter had a value: entries of the event log carry
/// their time in whole seconds, and the counter's value beside it.
#pragma once

#include <cstdint>

namespace Tagwright {

/// Valid for counts of this run of the system.
class CounterClock {
 public:
  /// Reads both clocks here alone, so that the times of several counts keep their distances.
  CounterClock();

  /// Milliseconds since 1970, as of LogTimeNow.
  std::int64_t TimeMs(std::uint64_t count) const;

 private:
  std::int64_t _countsPerSecond;
  std::int64_t _zeroUs = 0;  ///< The time at which the counter was 0, in microseconds since 1970.
};

}  // namespace Tagwright
