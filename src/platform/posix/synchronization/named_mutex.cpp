#include "platform/posix/synchronization/named_mutex.h"

#include <map>
#include <mutex>
#include <system_error>
#include <utility>

#include "platform/posix/kernel/background_thread.h"
#include "platform/posix/kernel/thread.h"

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

DWORD NamedMutex::Open(const std::string& name, bool isForEveryone, bool initialOwner,
                       Opening& opening) {
  std::lock_guard lock(Names().lock);
  auto& entry = Names().mutexes[name];
  opening.mutex = entry.lock();
  opening.wasThere = opening.mutex != nullptr;
  if (opening.wasThere) return 0;

  MutexFile::Opening file;
  if (const DWORD error = MutexFile::Open(name, isForEveryone, initialOwner, file)) return error;
  opening.wasThere = file.wasThere;
  entry = opening.mutex = std::make_shared<NamedMutex>(std::move(file.file));
  if (file.isLocked) {
    std::lock_guard engine(EngineLock());
    opening.mutex->Consume(Thread::Current());
  }
  return 0;
}

bool NamedMutex::IsSignalled(const Thread& waiter) {
  if (Owner() != nullptr) return Owner() == &waiter;
  // Those who sleep came first. Without them the queue may be one that a time-out left behind.
  if (_isQueued && HasWaiters()) return false;
  _isElsewhere = !_file->TryLock();
  return !_isElsewhere;
}

bool NamedMutex::Consume(Thread& waiter) {
  if (Owner() != nullptr) return Mutex::Consume(waiter);
  const bool wasAbandoned = _file->HasOwner();
  if (!wasAbandoned) _file->SetOwner(true);
  Mutex::Consume(waiter);
  return wasAbandoned;
}

void NamedMutex::GiveBack() {
  if (Owner() == nullptr) _file->Unlock();
}

void NamedMutex::OnFree(bool isAbandoned) {
  // The mark stays for the next owner, of whatever process, to find.
  if (!isAbandoned) _file->SetOwner(false);
  _file->Unlock();
  if (HasWaiters()) Queue();
}

void NamedMutex::OnWaiterSleeps() {
  // Only for what another process has: a free mutex that a wait for several objects has no use for
  // yet would come back from the queue at once, again and again.
  if (_isElsewhere && Owner() == nullptr) Queue();
}

void NamedMutex::Queue() {
  if (_isQueued) return;
  try {
    RunInBackground(
        [self = std::static_pointer_cast<NamedMutex>(shared_from_this())] { self->WaitForTurn(); });
    _isQueued = true;
  } catch (const std::system_error&) {
    // Without a thread the waits end by their time-outs.
  }
}

/// The lock belongs to the process, so a thread that takes the free mutex at the same moment shares
/// it, and may have given it back before this thread gets here. Hence what the engine does next
/// does not rely on the lock that was waited for: each offer looks at the file again.
void NamedMutex::WaitForTurn() {
  const bool isLocked = _file->WaitUntilLocked();
  std::lock_guard lock(EngineLock());
  _isQueued = false;
  if (!isLocked) return;  // The system is out of locks: the waits end by their time-outs.
  _isElsewhere = false;
  if (Owner() != nullptr) return;  // Its release queues again for those who still sleep.
  SignalWaiters();
  if (Owner() == nullptr) _file->Unlock();
}

}  // namespace platform
