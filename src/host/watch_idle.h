/// The idle watcher: a thread that counts whole minutes without pipe activity and, from the
/// fifteenth on, signals the main thread once a minute, which makes the final decision.
#pragma once

#include <functional>

#include "platform/windows_api.h"

/// Minutes without activity after which the process counts as idle.
constexpr int kIdleMinutes = 15;

/// Start parameter of the thread: allocated by the process main with new, deleted by the thread.
/// The process main keeps the handles.
struct WatchIdleParameters {
  HANDLE abortEvent;  ///< Ends the thread.
  HANDLE idleEvent;   ///< Signalled by the thread.
};

/// Thread procedure; `parameter` is a WatchIdleParameters record. Always returns 0.
unsigned __stdcall WatchIdleThreadProc(void* parameter);

/// What the watcher sees and moves.
struct IdleWatch {
  /// Waits up to `timeoutMs` for the order to end; returns what WaitForSingleObject returns.
  std::function<DWORD(DWORD timeoutMs)> waitForAbort;
  /// Whether there was activity since the last call.
  std::function<bool()> takeActivity;
  std::function<void()> signalIdle;
};

/// The watcher's core: one look a minute until it is told to end, or until its wait fails (it could
/// only spin then).
void WatchForIdleness(const IdleWatch& watch);
