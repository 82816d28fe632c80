/// The end for idleness: a watcher thread counts whole minutes without pipe activity and, from the
/// fifteenth on, signals the main thread once a minute, which looks once more and decides.
#pragma once

#include <functional>

#include "platform/windows_api.h"
#include "support/osynchronizer.h"

/// Minutes without activity after which the process counts as idle.
constexpr int kIdleMinutes = 15;

/// A minute, in milliseconds. It has an object file of its own, so that a program of the tests can
/// be linked with another one.
extern const DWORD kIdleMinuteMs;

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

/// The main thread's last look before the process ends for idleness. Takes `shutdownMutex` (without
/// time-out: another process that holds it is waited for) and looks once more. With activity
/// meanwhile: gives the mutex back and resets `idleEvent`. Without: stops the pipe server and keeps
/// the mutex until the process has ended.
void DecideIdleShutdown(OMutex& shutdownMutex, HANDLE idleEvent);
