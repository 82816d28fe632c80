/// The tick count's clock. Every line of the log that is off asks for it, so reading it is in this
/// header: the way through the layer's library and the C library takes longer than the kernel's own
/// function.
#pragma once

#include <time.h>

#include <atomic>
#include <cstdint>

namespace platform {

class TickClock {
 public:
  /// Milliseconds since system start, counting what the system spent asleep. Takes no lock and may
  /// be called in signal handlers.
  static std::int64_t NowMs() {
    // The coarse clock takes a quarter of the time of the others, but misses the sleep.
    timespec now;
    s_read(CLOCK_MONOTONIC_COARSE, &now);
    const std::int64_t awakeMs =
        now.tv_sec * kMillisecondsPerSecond +
        static_cast<std::uint32_t>(now.tv_nsec) / kNanosecondsPerMillisecond;
    if (awakeMs >= s_nextLookMs.load(std::memory_order_relaxed)) LookHowLongAsleep(awakeMs);
    return awakeMs + s_asleepMs.load(std::memory_order_relaxed);
  }

 private:
  using Reader = int (*)(clockid_t clock, timespec* now);

  static constexpr std::int64_t kMillisecondsPerSecond = 1000;
  static constexpr std::uint32_t kNanosecondsPerMillisecond = 1'000'000;

  static void LookHowLongAsleep(std::int64_t awakeMs);
  [[gnu::constructor]] static void UseKernelsReader();

  /// Set once, while the layer is loaded: the C library's function before.
  static constinit Reader s_read;
  /// How long the system has been asleep, as last seen, and when to look again.
  static constinit std::atomic<std::int64_t> s_asleepMs, s_nextLookMs;
};

}  // namespace platform
