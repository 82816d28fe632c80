/// Closing handles and waiting for the objects behind them: one engine for events, threads, mutexes
/// and processes.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_ABANDONED = 0x80;
constexpr DWORD WAIT_ABANDONED_0 = 0x80;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFFU;
constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;
constexpr DWORD SYNCHRONIZE = 0x00100000;

/// Gives one reference to the object back; the object goes with its last handle.
/// A stale, closed or foreign handle: FALSE with ERROR_INVALID_HANDLE.
BOOL CloseHandle(HANDLE handle);

/// Waits until the object is signalled, at most `timeoutMs` (INFINITE: without limit).
/// Returns WAIT_OBJECT_0, WAIT_ABANDONED (a mutex whose owner died; the caller owns it now),
/// WAIT_TIMEOUT, or WAIT_FAILED with the last error set.
DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs);

/// Waits for any (`waitAll` FALSE: the lowest signalled index wins and only that object is
/// consumed) or for all objects (everything is consumed at once or nothing). WAIT_FAILED with
/// ERROR_INVALID_PARAMETER for a count of 0 or above MAXIMUM_WAIT_OBJECTS, or the same object twice
/// in a wait for all; with ERROR_INVALID_HANDLE for a bad handle.
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD timeoutMs);
