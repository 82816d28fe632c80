#include "platform/posix/kernel/wait_engine.h"

#include <algorithm>
#include <utility>

#include "platform/posix/api/handles.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/thread.h"

namespace platform {

/// One wait of one thread, on its stack. Every member is guarded by the engine's lock.
class Waiter {
 public:
  Waiter(Thread& thread, std::span<const std::shared_ptr<Waitable>> objects, bool waitAll);
  ~Waiter();
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;

  /// Takes what the wait asks for, when it is there.
  bool TrySatisfy() { return _isSatisfied = _waitAll ? TryAll() : TryAny(); }
  /// What an object does for its waiters; on the thread that signalled it.
  void Offer();
  /// Sleeps until the wait is satisfied; the lock is held before and after.
  DWORD SleepUntil(const Deadline& deadline, std::unique_lock<std::mutex>& lock);
  DWORD Result() const { return _result; }

 private:
  bool TryAny();
  bool TryAll();
  void Enlist();
  void StayAsleep();

  Thread& _thread;
  const std::span<const std::shared_ptr<Waitable>> _objects;
  const bool _waitAll;
  bool _isEnlisted = false;
  bool _isSatisfied = false;
  DWORD _result = WAIT_FAILED;
};

Waiter::Waiter(Thread& thread, std::span<const std::shared_ptr<Waitable>> objects, bool waitAll)
    : _thread(thread), _objects(objects), _waitAll(waitAll) {}

Waiter::~Waiter() {
  if (!_isEnlisted) return;
  for (const auto& object : _objects) std::erase(object->_waiters, this);
}

bool Waiter::TryAny() {
  for (std::size_t index = 0; index < _objects.size(); ++index) {
    if (!_objects[index]->IsSignalled(_thread)) continue;
    const bool wasAbandoned = _objects[index]->Consume(_thread);
    _result = (wasAbandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + static_cast<DWORD>(index);
    return true;
  }
  return false;
}

bool Waiter::TryAll() {
  for (std::size_t index = 0; index < _objects.size(); ++index) {
    if (_objects[index]->IsSignalled(_thread)) continue;
    while (index > 0) _objects[--index]->GiveBack();
    return false;
  }
  bool wasAbandoned = false;
  for (const auto& object : _objects) wasAbandoned |= object->Consume(_thread);
  _result = wasAbandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0;
  return true;
}

void Waiter::Offer() {
  // It has what it waits for and is on its way to wake up: another object must go to the next
  // waiter in the queue.
  if (_isSatisfied) return;
  // The object is taken here, on the thread that signals it, so that nobody else can take it before
  // the waiter runs.
  if (TrySatisfy()) {
    _thread.Waker().Wake();
  } else {
    StayAsleep();
  }
}

void Waiter::StayAsleep() {
  for (const auto& object : _objects) object->OnWaiterSleeps();
}

void Waiter::Enlist() {
  _isEnlisted = true;
  for (const auto& object : _objects) object->_waiters.push_back(this);
}

DWORD Waiter::SleepUntil(const Deadline& deadline, std::unique_lock<std::mutex>& lock) {
  Enlist();
  StayAsleep();
  for (bool isInTime = true; isInTime;) {
    if (IsTerminationPending()) return WAIT_FAILED;
    const auto sequence = _thread.Waker().Sequence();
    lock.unlock();
    isInTime = _thread.Waker().Sleep(sequence, deadline);
    lock.lock();
    if (_isSatisfied) return _result;
  }
  return WAIT_TIMEOUT;
}

std::mutex& EngineLock() {
  static auto* const lock = new std::mutex;  // Used until the very end of the process.
  return *lock;
}

bool Waitable::Consume(Thread&) { return false; }

void Waitable::OnOwnerEnded(const Thread&) {}

void Waitable::SignalWaiters() {
  for (Waiter* waiter : _waiters) waiter->Offer();
}

DWORD WaitForObjects(std::span<const std::shared_ptr<Waitable>> objects, bool waitAll,
                     DWORD timeoutMs) {
  Thread& self = Thread::Current();
  std::unique_lock lock(EngineLock());
  Waiter waiter(self, objects, waitAll);
  if (waiter.TrySatisfy()) return waiter.Result();
  if (timeoutMs == 0) return WAIT_TIMEOUT;
  return waiter.SleepUntil(Deadline(timeoutMs), lock);
}

}  // namespace platform
