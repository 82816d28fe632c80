#include "platform/posix/synchronization/mutex.h"

#include <utility>

#include "platform/posix/kernel/thread.h"

namespace platform {

bool Mutex::IsSignalled(const Thread& waiter) { return _owner == nullptr || _owner == &waiter; }

bool Mutex::Consume(Thread& waiter) {
  if (_recursion++ == 0) {
    _owner = &waiter;
    waiter.AddOwned(std::static_pointer_cast<Waitable>(shared_from_this()));
  }
  return std::exchange(_wasAbandoned, false);
}

void Mutex::OnOwnerEnded(const Thread&) {
  _owner = nullptr;
  _recursion = 0;
  _wasAbandoned = true;
  SignalWaiters();
}

bool Mutex::Release() {
  Thread& self = Thread::Current();
  std::lock_guard lock(EngineLock());
  if (_owner != &self) return false;
  if (--_recursion > 0) return true;
  _owner = nullptr;
  self.RemoveOwned(this);
  OnReleased();
  SignalWaiters();
  return true;
}

}  // namespace platform
