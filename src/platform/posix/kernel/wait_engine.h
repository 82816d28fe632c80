/// The one engine behind every wait.
///
/// Readiness and consumption are two steps of each object, checked for all and committed for all
/// under one lock. Whoever makes an object signalled hands it to its waiters in the order in which
/// they came, so a waiter misses nothing that is taken back a moment later. A waiter sleeps on its
/// thread's waker until it is satisfied, its time is up or it is to be terminated.
#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "platform/posix/kernel/object.h"

namespace platform {

class Thread;
class Waiter;

/// Guards the state of every Waitable and every registration. Never held while sleeping.
std::mutex& EngineLock();

/// An object that can be waited for. Everything is called with the engine's lock held.
class Waitable : public Object {
 public:
  /// Readiness: whether a wait of `waiter` could be satisfied now. What it sets aside, if anything,
  /// is either consumed or given back before the lock is released.
  virtual bool IsSignalled(const Thread& waiter) = 0;
  /// Consumption, after readiness: takes what the wait takes. True when it was abandoned.
  virtual bool Consume(Thread& waiter);
  /// Readiness was found, but the wait as a whole could not be satisfied.
  virtual void GiveBack() {}

  /// A wait that found this object, or another of its objects, not ready goes to sleep, or stays
  /// asleep.
  virtual void OnWaiterSleeps() {}
  /// The thread that consumed it and has not given it back has ended.
  virtual void OnOwnerEnded(const Thread& owner);

 protected:
  /// To be called when the object may have become signalled.
  void SignalWaiters();
  bool HasWaiters() const { return !_waiters.empty(); }

 private:
  friend class Waiter;
  std::vector<Waiter*> _waiters;
};

/// WaitForMultipleObjects over objects that have been looked up. Called in a KernelScope.
DWORD WaitForObjects(std::span<const std::shared_ptr<Waitable>> objects, bool waitAll,
                     DWORD timeoutMs);

}  // namespace platform
