#include "platform/posix/synchronization/mutex_file.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/byte_lock.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/file_name.h"
#include "platform/posix/kernel/state_paths.h"

namespace platform {
namespace {

constexpr const char* kFolder = "mutex";
constexpr off_t kOwnership = 0;
constexpr off_t kExistence = 1;
/// How often a process that creates the mutex is given the processor to finish.
constexpr int kCreationYields = 100;

/// An existing file is not opened with O_CREAT, which the system refuses for other users' files in
/// some folders. O_NONBLOCK: a FIFO in the file's place does not block.
UniqueFd OpenFile(const std::string& name) {
  constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  const std::string path = SharedStatePath(kFolder) + '/' + name;
  UniqueFd file(open(path.c_str(), kFlags));
  if (file || errno != ENOENT) return file;
  MakeSharedStateFolder(kFolder);
  return UniqueFd(open(path.c_str(), kFlags | O_CREAT, kPrivateFile));
}

/// The file of the mutex that was closed last; owned.
constinit std::atomic<MutexFile*> g_kept{nullptr};

/// Without the file's times: asking for them makes the next write twice as slow.
struct statx StatusOf(int file) {
  struct statx status {};
  statx(file, "", AT_EMPTY_PATH, STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_UID, &status);
  return status;
}

/// A folder, a socket or a link in the file's place is an object of another kind.
DWORD ErrorOfOpening(int errnoValue) {
  const bool isOtherKind = errnoValue == EISDIR || errnoValue == ENXIO || errnoValue == ELOOP;
  return isOtherKind ? ERROR_INVALID_HANDLE : ErrorFromErrno(errnoValue);
}

}  // namespace

DWORD MutexFile::Open(const std::string& name, bool isForEveryone, bool lockWhenNew,
                      Opening& opening) {
  const mode_t mode = isForEveryone ? kFileForEveryone : kPrivateFile;
  opening.file = Reopen(name, mode);
  if (opening.file) {
    opening.isLocked = opening.file->Initialise(lockWhenNew);
    return 0;
  }
  UniqueFd file = OpenFile(FileNameFor(name));
  if (!file) return ErrorOfOpening(errno);
  opening.file.reset(new MutexFile(name, std::move(file)));
  if (opening.file->TryBecomeFirst()) {
    opening.file->EnsureMode(mode);
    opening.isLocked = opening.file->Initialise(lockWhenNew);
    return 0;
  }
  if (errno != EAGAIN) return ErrorFromErrno(errno);
  opening.wasThere = true;
  opening.file->Join();
  return 0;
}

MutexFile::~MutexFile() { UnlockAllBytes(_file.Get()); }

void MutexFile::Close(std::unique_ptr<MutexFile> file) {
  UnlockAllBytes(file->_file.Get());
  delete g_kept.exchange(file.release());
}

std::unique_ptr<MutexFile> MutexFile::Reopen(const std::string& name, mode_t mode) {
  std::unique_ptr<MutexFile> file(g_kept.exchange(nullptr));
  const bool isUsable =
      file && file->_name == name && file->TryBecomeFirst() && file->IsAsCreated(mode);
  return isUsable ? std::move(file) : nullptr;
}

bool MutexFile::TryBecomeFirst() {
  return TryLockByte(_file.Get(), kExistence, ByteLock::kExclusive);
}

bool MutexFile::IsAsCreated(mode_t mode) const {
  static const uid_t user = geteuid();
  const struct statx status = StatusOf(_file.Get());
  return status.stx_nlink > 0 && status.stx_uid == user && (status.stx_mode & ALLPERMS) == mode;
}

void MutexFile::EnsureMode(mode_t mode) const {
  if ((StatusOf(_file.Get()).stx_mode & ALLPERMS) != mode) fchmod(_file.Get(), mode);
}

bool MutexFile::Initialise(bool lock) {
  // Whatever a process that has died, or somebody else, left in the file: this is a new mutex.
  if (HasOwner()) SetOwner(false);
  const bool isLocked = lock && TryLock();
  TryLockByte(_file.Get(), kExistence, ByteLock::kShared);
  return isLocked;
}

void MutexFile::Join() {
  // The exclusive lock is there only while the mutex is being created. Somebody who holds it longer
  // means harm, and does none: without its own lock this process merely does not keep the name.
  for (int yields = 0; yields < kCreationYields; ++yields) {
    if (TryLockByte(_file.Get(), kExistence, ByteLock::kShared)) return;
    sched_yield();
  }
}

bool MutexFile::TryLock() { return TryLockByte(_file.Get(), kOwnership, ByteLock::kExclusive); }

bool MutexFile::WaitUntilLocked() {
  return LockByte(_file.Get(), kOwnership, ByteLock::kExclusive);
}

void MutexFile::Unlock() { UnlockByte(_file.Get(), kOwnership); }

bool MutexFile::HasOwner() const {
  char mark = 0;
  return pread(_file.Get(), &mark, sizeof mark, kOwnership) == sizeof mark && mark != 0;
}

void MutexFile::SetOwner(bool isOwned) {
  const char mark = isOwned ? 1 : 0;
  // On a full disk the mutex works without: nobody is told when its owner dies.
  [[maybe_unused]] const ssize_t written = pwrite(_file.Get(), &mark, sizeof mark, kOwnership);
}

}  // namespace platform
