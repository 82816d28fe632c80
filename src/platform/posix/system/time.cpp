#include "platform/posix/api/time.h"

#include <time.h>

#include <algorithm>
#include <atomic>

namespace {

constexpr LONGLONG kNanosecondsPerSecond = 1'000'000'000;
constexpr LONGLONG kNanosecondsPerMillisecond = 1'000'000;
/// How long the tick count may go on as if the system had not been asleep.
constexpr LONGLONG kSleepIsNoticedMs = 1000;
// The unit of the system's performance counter is 100 ns on everything recent.
constexpr LONGLONG kCountsPerSecond = 10'000'000;
constexpr LONGLONG kNanosecondsPerCount = kNanosecondsPerSecond / kCountsPerSecond;

timespec Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

LONGLONG Nanoseconds(clockid_t clock) {
  const timespec now = Now(clock);
  return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

/// How long the system has been asleep, as of a second ago at most.
LONGLONG AsleepMs(LONGLONG awakeMs) {
  static std::atomic<LONGLONG> asleepMs{0}, nextLookMs{0};
  if (awakeMs >= nextLookMs.load(std::memory_order_relaxed)) {
    const LONGLONG asleep = Nanoseconds(CLOCK_BOOTTIME) - Nanoseconds(CLOCK_MONOTONIC);
    asleepMs = std::max(asleepMs.load(), asleep / kNanosecondsPerMillisecond);
    nextLookMs = awakeMs + kSleepIsNoticedMs;
  }
  return asleepMs.load(std::memory_order_relaxed);
}

}  // namespace

DWORD GetTickCount() { return static_cast<DWORD>(GetTickCount64()); }

ULONGLONG GetTickCount64() {
  // Every line of the log that is off asks for the time. The coarse clock takes a quarter of the
  // time of the others, but misses what the system spent asleep.
  const LONGLONG awakeMs = Nanoseconds(CLOCK_MONOTONIC_COARSE) / kNanosecondsPerMillisecond;
  return static_cast<ULONGLONG>(awakeMs + AsleepMs(awakeMs));
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
  const timespec now = Now(CLOCK_MONOTONIC);
  count->QuadPart = now.tv_sec * kCountsPerSecond + now.tv_nsec / kNanosecondsPerCount;
  return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* countsPerSecond) {
  countsPerSecond->QuadPart = kCountsPerSecond;
  return TRUE;
}

void GetLocalTime(SYSTEMTIME* localTime) {
  const timespec now = Now(CLOCK_REALTIME);
  tm fields{};
  localtime_r(&now.tv_sec, &fields);
  localTime->wYear = static_cast<WORD>(fields.tm_year + 1900);
  localTime->wMonth = static_cast<WORD>(fields.tm_mon + 1);
  localTime->wDayOfWeek = static_cast<WORD>(fields.tm_wday);
  localTime->wDay = static_cast<WORD>(fields.tm_mday);
  localTime->wHour = static_cast<WORD>(fields.tm_hour);
  localTime->wMinute = static_cast<WORD>(fields.tm_min);
  localTime->wSecond = static_cast<WORD>(fields.tm_sec);
  localTime->wMilliseconds = static_cast<WORD>(now.tv_nsec / kNanosecondsPerMillisecond);
}
