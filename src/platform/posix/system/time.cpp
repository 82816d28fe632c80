#include "platform/posix/api/time.h"

#include <time.h>

namespace {

constexpr LONGLONG kNanosecondsPerSecond = 1'000'000'000;
constexpr LONGLONG kNanosecondsPerMillisecond = 1'000'000;
// The unit of the system's performance counter is 100 ns on everything recent.
constexpr LONGLONG kCountsPerSecond = 10'000'000;
constexpr LONGLONG kNanosecondsPerCount = kNanosecondsPerSecond / kCountsPerSecond;

timespec Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

}  // namespace

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
