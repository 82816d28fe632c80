/// Clocks.
#pragma once

#include "platform/posix/api/base.h"
#include "platform/posix/system/tick_clock.h"

struct SYSTEMTIME {
  WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

/// Milliseconds since system start.
inline ULONGLONG GetTickCount64() { return static_cast<ULONGLONG>(platform::TickClock::NowMs()); }
/// The same; wraps after 49.7 days.
inline DWORD GetTickCount() { return static_cast<DWORD>(GetTickCount64()); }
/// A count of 100 ns units that never goes back.
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
/// Counts of the performance counter in a second.
BOOL QueryPerformanceFrequency(LARGE_INTEGER* countsPerSecond);
void GetLocalTime(SYSTEMTIME* localTime);
