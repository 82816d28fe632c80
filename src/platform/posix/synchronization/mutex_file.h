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
/// it is closed, and a mutex may be opened for each line of a log. For the same reason the file of
/// the mutex that was closed last stays open, without a lock.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/posix/api/base.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// The name exists as long as this object lives or until Close. The locks are those of the process;
/// which of its threads owns the mutex is kept elsewhere.
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
  /// Gives up every lock, and so the name, and keeps the file open for the next Open of that name.
  /// The process keeps one file at a time.
  static void Close(std::unique_ptr<MutexFile> file);
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
  MutexFile(std::string name, UniqueFd file) : _name(std::move(name)), _file(std::move(file)) {}
  /// The kept file, with the name taken for a new mutex. Null when another process has the name, or
  /// when opening the file anew could come out differently.
  static std::unique_ptr<MutexFile> Reopen(const std::string& name, mode_t mode);
  bool TryBecomeFirst();
  /// Whether it has not been removed and could have been created for this mutex just now.
  bool IsAsCreated(mode_t mode) const;
  /// Whatever the umask is, and whatever the mutex before was for. Only the file's owner can.
  void EnsureMode(mode_t mode) const;
  /// Lets the others in at its end; whether the mutex is locked then.
  bool Initialise(bool lock);
  void Join();

  const std::string _name;
  const UniqueFd _file;
};

}  // namespace platform
