/// A time limit for synchronous pipe calls: a thread of its own cancels a call that lasts too long.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/windows_api.h"

namespace Tagwright {

/// Watches the calls that one thread makes on one file, one after another. Start and Stop bracket a
/// call, or a group of calls under one limit; they cost two uncontended locks, because the watching
/// thread sleeps on from an old limit to the next and is woken only when it had nothing to wait
/// for.
class IoWatchdog {
 public:
  /// `file` stays the caller's and outlives the watchdog.
  explicit IoWatchdog(HANDLE file);
  ~IoWatchdog();
  IoWatchdog(const IoWatchdog&) = delete;
  IoWatchdog& operator=(const IoWatchdog&) = delete;

  /// From now on, when `timeoutMs` have passed, every call on the file is cancelled until Stop: it
  /// fails with ERROR_OPERATION_ABORTED.
  void Start(DWORD timeoutMs);

  /// Ends the watch; nothing is cancelled any more once it returns.
  void Stop();

 private:
  using Clock = std::chrono::steady_clock;

  void Watch();
  void WaitForWork(std::unique_lock<std::mutex>& lock);

  const HANDLE _file;
  std::mutex _mutex;  ///< Guards everything below but the thread.
  std::condition_variable _wake;
  std::optional<Clock::time_point> _deadline;  ///< Empty while no call is watched.
  bool _idle = false;                          ///< The thread sleeps without a limit.
  bool _quit = false;
  std::thread _thread;
};

}  // namespace Tagwright
