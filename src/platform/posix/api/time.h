/// Clocks.
#pragma once

#include "platform/posix/api/base.h"

struct SYSTEMTIME {
  WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

/// Milliseconds since system start; wraps after 49.7 days.
DWORD GetTickCount();
ULONGLONG GetTickCount64();
/// A count of 100 ns units that never goes back.
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
/// Counts of the performance counter in a second.
BOOL QueryPerformanceFrequency(LARGE_INTEGER* countsPerSecond);
void GetLocalTime(SYSTEMTIME* localTime);
