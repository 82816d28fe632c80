/// A mutex that has a name, shared by every process with the same state root.
#pragma once

#include <memory>
#include <string>

#include "platform/posix/synchronization/mutex.h"
#include "platform/posix/synchronization/mutex_file.h"

namespace platform {

/// All handles of a process to one name stand for one object. Between processes the file decides;
/// which thread of the process owns the mutex, and how often, is kept here.
///
/// Waits sleep in the engine as for any other object. While another process has the mutex, one
/// background thread of this process stands in the system's queue for the file's lock and then
/// offers the mutex to those who sleep. A thread that releases the mutex does not hand it to the
/// next of its own process: it unlocks the file, and its process queues like every other, so that
/// no process keeps the mutex from the rest.
class NamedMutex final : public Mutex {
 public:
  struct Opening {
    std::shared_ptr<NamedMutex> mutex;
    bool wasThere = false;
  };

  /// Opens or creates the mutex `name`, without "Local\" or "Global\" before it. With
  /// `initialOwner` the calling thread owns a new one. A system error code.
  static DWORD Open(const std::string& name, bool isForEveryone, bool initialOwner,
                    Opening& opening);

  explicit NamedMutex(std::unique_ptr<MutexFile> file) : _file(std::move(file)) {}
  ~NamedMutex() override { MutexFile::Close(std::move(_file)); }

  bool IsSignalled(const Thread& waiter) override;
  bool Consume(Thread& waiter) override;
  void GiveBack() override;
  void OnWaiterSleeps() override;

 private:
  void OnFree(bool isAbandoned) override;
  void Queue();
  void WaitForTurn();

  std::unique_ptr<MutexFile> _file;
  // Guarded by the engine's lock.
  bool _isElsewhere = false;  // The last look at the file found it locked by another process.
  bool _isQueued = false;     // A background thread waits for the file's lock.
};

}  // namespace platform
