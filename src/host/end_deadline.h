/// The last resort at the end of the process: once the end has begun, the process is gone within a
/// bounded time, whatever its threads do. It reaches what no other time limit here can: a heap that
/// a component has damaged and that stops every thread at its next allocation, a file system that
/// does not answer, a loader that a terminated thread has left locked.
#pragma once

#include "host/watchers.h"
#include "service/time_limits.h"

/// How long the work between the waits of the orderly end may take.
constexpr DWORD kMaxOtherEndMs = 5000;

/// How long the orderly end may take: the time that the message thread (with a control channel: the
/// encoder pipes) and then the watchers are given, and the work in between.
constexpr DWORD kMaxEndMs = kMaxShutdownTimeMs + Watchers::kMaxEndMs + kMaxOtherEndMs;
constexpr DWORD kMaxControlEndMs = kMaxPipesEndMs + Watchers::kMaxEndMs + kMaxOtherEndMs;

/// Starts the thread that keeps the deadline, and returns when it runs; to be called once. Where
/// the thread cannot be started the process does without. The parent's end is the beginning of the
/// process's end for it, too: the parent watcher may not get as far as seeing it, because a thread
/// that starts on Windows waits for a component that hangs while it is loaded.
void StartEndDeadline(DWORD maxEndMs);

/// The end begins: unless the process ends by itself in time, it is ended with exit code 0. Any
/// thread may call it, any number of times; the first call counts. It takes no memory and no lock
/// of the program.
void BeginEnd();
