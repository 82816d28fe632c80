/// Threads of the C runtime's kind (_beginthreadex) and their termination.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD STILL_ACTIVE = 259;

using _beginthreadex_proc_type = unsigned (*)(void*);

/// Starts a thread; default security (null) and stack size 0 (the system's default) or a size in
/// bytes; `initFlags` 0 only. Returns its handle, which the caller closes, or 0 (errno says why).
std::uintptr_t _beginthreadex(void* security, unsigned stackSizeBytes,
                              _beginthreadex_proc_type startAddress, void* argument,
                              unsigned initFlags, unsigned* threadId);

/// Ends the calling thread with `exitCode`. Call it from the thread procedure itself, where no
/// object with a destructor is alive.
[[noreturn]] void _endthreadex(unsigned exitCode);

/// The exit code of a thread; STILL_ACTIVE while it runs. Also for a process handle, see
/// processes.h.
BOOL GetExitCodeThread(HANDLE thread, LPDWORD exitCode);

/// Ends another thread wherever it is, blocked in a call included. No destructor runs, its locks
/// stay held, its mutexes are abandoned, its handle is signalled, its exit code is `exitCode`. A
/// thread that has already ended keeps its exit code (FALSE with ERROR_ACCESS_DENIED, as the system
/// reports).
///
/// When the call returns, the thread no longer runs, but for one that has been busy inside a call
/// of the layer or of the heap for a whole second: it runs none of the program's code any more, and
/// ends, signals its handle and abandons its mutexes when it leaves that call. A thread inside a
/// library's start-up code that LoadLibraryW runs leaves the loader locked: every later load waits
/// for good, as on Windows.
BOOL TerminateThread(HANDLE thread, DWORD exitCode);

DWORD GetCurrentThreadId();
void Sleep(DWORD milliseconds);
