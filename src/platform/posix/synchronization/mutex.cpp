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
  return std::exchange(_isAbandoned, false);
}

void Mutex::OnOwnerEnded(const Thread&) {
  _owner = nullptr;
  _recursion = 0;
  OnFree(true);
}

bool Mutex::Release() {
  Thread& self = Thread::Current();
  std::lock_guard lock(EngineLock());
  if (_owner != &self) return false;
  if (--_recursion > 0) return true;
  _owner = nullptr;
  self.RemoveOwned(this);
  OnFree(false);
  return true;
}

void Mutex::OnFree(bool isAbandoned) {
  _isAbandoned = isAbandoned;
  SignalWaiters();
}

}  // namespace platform
