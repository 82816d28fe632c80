/// Waiting for the end of threads.
#pragma once

#include <span>

#include "platform/windows_api.h"

enum class ThreadEnd {
  kEnded,      ///< All of them have ended.
  kTimedOut,   ///< At least one of them still runs.
  kAbandoned,  ///< Something else than a thread was waited for.
  kFailed,     ///< Nothing can be said: no handle, an invalid one, or more than 64.
};

/// Waits at most `timeoutMs` until all `threads` have ended.
ThreadEnd AwaitThreads(std::span<const HANDLE> threads, DWORD timeoutMs);
