/// The file behind a named mutex: a robust process-shared mutex, mapped by every process that has
/// the name open.
#pragma once

#include <memory>
#include <string>

#include "platform/posix/api/base.h"
#include "platform/posix/kernel/thread_waker.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// Open as long as this object lives, and so long the name exists: each process holds a shared lock
/// on the file, and whoever finds no such lock starts it afresh, whatever a dead process or
/// somebody else left in it.
///
/// Locking, unlocking and the owner are per thread: the thread that took the mutex gives it back.
class MutexFile {
 public:
  enum class State { kNew, kNewAndLocked, kExisting };

  /// Opens or creates the file. `lockWhenNew`: a new mutex comes into being locked by the caller.
  /// Null with the last error set on failure; ERROR_INVALID_HANDLE when somebody keeps a file in
  /// its place that is no mutex.
  static std::unique_ptr<MutexFile> Open(const std::string& path, bool isForEveryone,
                                         bool lockWhenNew, State& state);
  ~MutexFile();
  MutexFile(const MutexFile&) = delete;
  MutexFile& operator=(const MutexFile&) = delete;

  bool TryLock();
  /// Blocks in the system's mutex, which no waker ends. False when the deadline has passed.
  bool Lock(const Deadline& deadline);
  /// Leaves the owner as it is: to the next one it tells of an abandoned mutex unless it is
  /// cleared.
  void Unlock();

  /// Whether the thread that had it last ended without giving it back; the mutex is locked.
  bool HasOwner() const;
  void SetOwner(DWORD threadId);
  void ClearOwner() { SetOwner(0); }

 private:
  struct Record;
  explicit MutexFile(UniqueFd file);
  bool TryBecomeFirst();
  bool Join();
  bool Map();
  void Initialise(bool isLocked);

  UniqueFd _file;
  Record* _record = nullptr;
};

}  // namespace platform
