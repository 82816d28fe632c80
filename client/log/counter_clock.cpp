#include "client/log/counter_clock.h"

#include <chrono>
#include <cstdint>

#include "platform/windows_api.h"

namespace Tagwright {
namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr int kReadings = 5;

std::int64_t CounterNow() {
  LARGE_INTEGER count;
  QueryPerformanceCounter(&count);
  return count.QuadPart;
}

std::int64_t Microseconds(std::int64_t count, std::int64_t countsPerSecond) {
  const std::int64_t rest = count % countsPerSecond;
  return count / countsPerSecond * kMicrosecondsPerSecond +
         rest * kMicrosecondsPerSecond / countsPerSecond;
}

std::int64_t MicrosecondsNow() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

CounterClock::CounterClock() {
  LARGE_INTEGER countsPerSecond;
  QueryPerformanceFrequency(&countsPerSecond);
  _countsPerSecond = countsPerSecond.QuadPart;
  // The thread may be interrupted between the readings: the pair that lies closest counts.
  std::int64_t closestUs = INT64_MAX;
  for (int reading = 0; reading < kReadings; ++reading) {
    const std::int64_t beforeUs = Microseconds(CounterNow(), _countsPerSecond);
    const std::int64_t timeUs = MicrosecondsNow();
    const std::int64_t apartUs = Microseconds(CounterNow(), _countsPerSecond) - beforeUs;
    if (apartUs >= closestUs) continue;
    closestUs = apartUs;
    _zeroUs = timeUs - beforeUs;
  }
}

std::int64_t CounterClock::TimeMs(std::uint64_t count) const {
  return (_zeroUs + Microseconds(static_cast<std::int64_t>(count), _countsPerSecond)) / 1000;
}

}  // namespace Tagwright
