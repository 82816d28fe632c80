/// The parent watcher: a thread that stops the server when the parent process ends.
#pragma once

#include "platform/windows_api.h"
#include "support/scoped_handle.h"

/// The parent process, to be waited for; nothing when it cannot be found or opened.
ScopedHandle OpenParent();

/// Thread procedure. `parameter` is the address of the variable that holds the abort event; the
/// variable outlives the thread's start. Ends when the parent has ended, when the abort event is
/// signalled, or at once when the parent cannot be found or opened. Always returns 0.
unsigned __stdcall WatchParentProcessThreadProc(void* parameter);
