/// Starting threads of the program, and the events by which they are told to end.
#pragma once

#include "platform/windows_api.h"

/// Starts a thread that runs `procedure` with `parameter`, on a stack of the system's size. Null
/// when it cannot be started; the caller owns the handle.
inline HANDLE StartThread(unsigned(__stdcall* procedure)(void*), void* parameter) {
  return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, procedure, parameter, 0, nullptr));
}

/// An event without a name that stays signalled once it is set. Null when it cannot be created; the
/// caller owns the handle.
inline HANDLE CreateManualResetEvent() { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }
