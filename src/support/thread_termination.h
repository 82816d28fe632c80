/// The last resort against a thread that does not end.
#pragma once

#include "platform/windows_api.h"

/// Terminates `thread` with `exitCode`, but never in the middle of a log line: a terminated thread
/// leaves its locks held, and with the log's lock the whole process would stop at its next line.
/// Waits for a line that is being written and until the thread is gone; does nothing when the
/// thread has ended meanwhile.
void TerminateBetweenLogLines(HANDLE thread, DWORD exitCode);
