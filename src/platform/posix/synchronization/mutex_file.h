/// The file behind a named mutex, which lies in mutex/ under the state root.
///
///   byte 0    not zero while the mutex is owned: an owner that dies leaves it so
///   lock 0    exclusive: the process that has the mutex
///   lock 1    shared: a process in which the name is open
///
/// Whoever may use the mutex may write the file, so nothing in it is trusted: of all that others
/// can put there this process reads one byte, and the worst that comes of it is a wrong
/// "abandoned". Others can also hold the locks, as any owner of the mutex can; only WaitUntilLocked
/// waits for them.
///
/// The file is never shortened or removed: file systems write one that was emptied to the disk when
/// it is closed, and a mutex may be opened for each line of a log.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/posix/api/base.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// Open as long as this object lives, and so long the name exists. The locks are those of the
/// process; which of its threads owns the mutex is kept elsewhere.
class MutexFile {
 public:
  struct Opening {
    std::unique_ptr<MutexFile> file;
    bool wasThere = false;  ///< Somebody has the name open already.
    bool isLocked = false;  ///< It is new and was to be locked.
  };

  /// Opens or creates the file for the mutex `name`. `lockWhenNew`: a new mutex comes into being
  /// locked. ERROR_INVALID_HANDLE when something other than a file lies in its place.
  static DWORD Open(const std::string& name, bool isForEveryone, bool lockWhenNew,
                    Opening& opening);
  ~MutexFile();
  MutexFile(const MutexFile&) = delete;
  MutexFile& operator=(const MutexFile&) = delete;

  /// Succeeds again when this process has the lock.
  bool TryLock();
  /// Blocks without limit until the process has the lock; false when the system gives no lock.
  bool WaitUntilLocked();
  void Unlock();

  /// The owner's mark; the process has the lock.
  bool HasOwner() const;
  void SetOwner(bool isOwned);

 private:
  explicit MutexFile(UniqueFd file) : _file(std::move(file)) {}
  bool TryBecomeFirst();
  /// Lets the others in at its end; whether the mutex is locked then.
  bool Initialise(mode_t mode, bool lock);
  void Join();

  UniqueFd _file;
};

}  // namespace platform
