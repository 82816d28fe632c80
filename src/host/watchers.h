/// The two watcher threads of the process main and the events that move them.
#pragma once

#include "platform/windows_api.h"

/// Plain handles, closed by CloseHandles only: when the process main ends on an exception, the
/// watchers still run and use them. Lives as long as the process main; used on its thread only.
class Watchers {
 public:
  /// How long Stop waits for the threads.
  static constexpr DWORD kMaxEndMs = 2000;

  /// Creates the events and starts both threads. An event or thread that cannot be created stays
  /// null; whoever waits for it finds out.
  void Start();

  /// Signalled by the idle watcher while all pipes are idle.
  HANDLE IdleEvent() const { return hIdleEvent; }

  /// Tells both threads to end and waits up to kMaxEndMs for them.
  void Stop();
  void CloseHandles();

 private:
  void StartIdleWatcher();
  void WaitForThreads() const;

  HANDLE hAbortWatchParentEvent = nullptr;
  HANDLE hParentWatcher = nullptr;
  HANDLE hIdleEvent = nullptr;
  HANDLE hAbortWatchIdleEvent = nullptr;
  HANDLE hIdleWatcher = nullptr;
};
