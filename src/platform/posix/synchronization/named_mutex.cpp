#include "platform/posix/synchronization/named_mutex.h"

#include <map>
#include <mutex>
#include <utility>

#include "platform/posix/api/handles.h"
#include "platform/posix/kernel/background_thread.h"
#include "platform/posix/kernel/file_name.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"

namespace platform {
namespace {

struct NameTable {
  std::mutex lock;
  std::map<std::string, std::weak_ptr<NamedMutex>> mutexes;
};

NameTable& Names() {
  static auto* const names = new NameTable;  // Used until the very end of the process.
  return *names;
}

}  // namespace

std::shared_ptr<NamedMutex> NamedMutex::Open(const std::string& name, bool isForEveryone,
                                             bool initialOwner, bool& wasThere) {
  MutexFile::State state = MutexFile::State::kExisting;
  std::shared_ptr<NamedMutex> mutex;
  {
    std::lock_guard lock(Names().lock);
    auto& entry = Names().mutexes[name];
    mutex = entry.lock();
    if (!mutex) {
      auto file = MutexFile::Open(StateFolder("mutex") + '/' + FileNameFor(name), isForEveryone,
                                  initialOwner, state);
      if (!file) return nullptr;
      mutex = std::make_shared<NamedMutex>(std::move(file));
      entry = mutex;
    }
  }
  wasThere = state == MutexFile::State::kExisting;
  if (state == MutexFile::State::kNewAndLocked) {
    std::lock_guard lock(EngineLock());
    mutex->ConsumeLocked(Thread::Current());
  }
  return mutex;
}

bool NamedMutex::IsSignalled(const Thread& waiter) {
  if (Owner() != nullptr) return Owner() == &waiter;
  _isSetAside = _file->TryLock();
  return _isSetAside;
}

bool NamedMutex::Consume(Thread& waiter) {
  if (std::exchange(_isSetAside, false)) return ConsumeLocked(waiter);
  return Mutex::Consume(waiter);
}

bool NamedMutex::ConsumeLocked(Thread& waiter) {
  const bool wasAbandoned = _file->HasOwner();
  _file->SetOwner(waiter.Id());
  Mutex::Consume(waiter);
  return wasAbandoned;
}

void NamedMutex::GiveBack() {
  if (std::exchange(_isSetAside, false)) _file->Unlock();
}

void NamedMutex::OnReleased() {
  _file->ClearOwner();
  _file->Unlock();
}

void NamedMutex::OnOwnerEnded(const Thread& owner) {
  // A thread that ends by itself still can unlock; for a terminated one the system has done it.
  if (&owner == &Thread::Current()) _file->Unlock();
  Mutex::OnOwnerEnded(owner);
}

DWORD NamedMutex::WaitAlone(std::shared_ptr<Waitable> self, DWORD timeoutMs) {
  const Deadline deadline(timeoutMs);
  Thread& thread = Thread::Current();
  {
    std::lock_guard lock(EngineLock());
    if (IsSignalled(thread)) return Consume(thread) ? WAIT_ABANDONED : WAIT_OBJECT_0;
  }
  if (timeoutMs == 0) return WAIT_TIMEOUT;

  thread.HoldDuringPause(self);
  Waitable* const raw = self.get();
  self.reset();
  bool isLocked = false;
  {
    KernelPause pause;
    isLocked = _file->Lock(deadline);
  }
  self = std::static_pointer_cast<Waitable>(raw->shared_from_this());
  thread.HoldDuringPause(nullptr);
  if (!isLocked) return WAIT_TIMEOUT;
  std::lock_guard lock(EngineLock());
  return ConsumeLocked(thread) ? WAIT_ABANDONED : WAIT_OBJECT_0;
}

void NamedMutex::OnWaiterSleeps() {
  // An owner in this process signals its release itself.
  if (Owner() != nullptr || std::exchange(_isBeingWatched, true)) return;
  RunInBackground(
      [self = std::static_pointer_cast<NamedMutex>(shared_from_this())] { self->LearnWhenFree(); });
}

void NamedMutex::LearnWhenFree() {
  if (_file->Lock(Deadline(INFINITE))) _file->Unlock();
  std::lock_guard lock(EngineLock());
  _isBeingWatched = false;
  SignalWaiters();
}

}  // namespace platform
