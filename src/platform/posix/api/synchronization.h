/// Events, mutexes and critical sections.
#pragma once

#include "platform/posix/api/base.h"

/// Unnamed events only: a name fails with ERROR_NOT_SUPPORTED.
HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                    LPCWSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

/// A mutex; with a name it is shared by every process that uses the same state root, survives the
/// death of its owner (the next waiter gets WAIT_ABANDONED) and opens an existing one with last
/// error ERROR_ALREADY_EXISTS, in which case `initialOwner` is ignored. Names are case-sensitive
/// and may start with "Local\" or "Global\"; null or empty is unnamed.
HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name);

/// Gives one ownership of the calling thread back; ERROR_NOT_OWNER (288) when it owns none.
BOOL ReleaseMutex(HANDLE mutex);

/// Recursive for its owning thread. Opaque, and allocated by the caller like the system's own
/// record.
struct CRITICAL_SECTION {
  void* opaque[2];
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

void InitializeCriticalSection(LPCRITICAL_SECTION section);
void DeleteCriticalSection(LPCRITICAL_SECTION section);
void EnterCriticalSection(LPCRITICAL_SECTION section);
void LeaveCriticalSection(LPCRITICAL_SECTION section);
