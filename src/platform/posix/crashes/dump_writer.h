/// Writes dumps of this process.
#pragma once

#include "platform/posix/api/crash_dumps.h"

namespace platform {

/// Writes a dump into a file, which stays the caller's, from its start. `exception` may be null; it
/// belongs to the calling thread. False when the file could not be written, or another thread has
/// not finished its dump after some seconds. Takes no memory from the heap; the other threads stand
/// still meanwhile. May be called in signal handlers.
bool WriteDump(int file, DWORD types, const MINIDUMP_EXCEPTION_INFORMATION* exception);

}  // namespace platform
