/// A mutex that has a name, shared by every process with the same state root.
#pragma once

#include <memory>
#include <string>

#include "platform/posix/kernel/thread.h"
#include "platform/posix/kernel/wait_engine.h"
#include "platform/posix/synchronization/mutex.h"
#include "platform/posix/synchronization/mutex_file.h"

namespace platform {

/// All handles of a process to one name stand for one object; which thread of the process owns it,
/// and how often, is kept here, and between processes the file decides.
///
/// Only the waiting thread itself can take it. A wait for it alone blocks in the file's mutex; a
/// wait for several objects sleeps in the engine while a background thread learns when the mutex is
/// free.
class NamedMutex final : public Mutex {
 public:
  /// Opens or creates the mutex `name`, without "Local\" or "Global\" before it. `wasThere`: it
  /// existed; otherwise, with `initialOwner`, the calling thread owns it now. Null with the last
  /// error set on failure.
  static std::shared_ptr<NamedMutex> Open(const std::string& name, bool isForEveryone,
                                          bool initialOwner, bool& wasThere);

  explicit NamedMutex(std::unique_ptr<MutexFile> file) : _file(std::move(file)) {}

  bool IsSignalled(const Thread& waiter) override;
  bool Consume(Thread& waiter) override;
  void GiveBack() override;
  bool IsBoundToWaitingThread() const override { return true; }
  void OnWaiterSleeps() override;
  void OnOwnerEnded(const Thread& owner) override;
  DWORD WaitAlone(std::shared_ptr<Waitable> self, DWORD timeoutMs) override;

 private:
  void OnReleased() override;
  bool ConsumeLocked(Thread& waiter);
  void LearnWhenFree();

  const std::unique_ptr<MutexFile> _file;
  // Guarded by the engine's lock.
  bool _isSetAside = false;  // The calling thread has the file's mutex and may yet give it back.
  bool _isBeingWatched = false;
};

}  // namespace platform
