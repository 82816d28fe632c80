#include "platform/posix/pipes/claim.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <mutex>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/byte_lock.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/file_name.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

class ClaimFile {
 public:
  explicit ClaimFile(UniqueFd locked) : _locked(std::move(locked)) {}
  /// 0 or an errno value; ENOENT when all its links have gone, which cannot be undone.
  int LinkAs(const std::string& path) const {
    char ownName[32];
    std::snprintf(ownName, sizeof ownName, "/proc/self/fd/%d", _locked.Get());
    return linkat(AT_FDCWD, ownName, AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
  }

 private:
  const UniqueFd _locked;
};

namespace {

constexpr const char* kSocketFolder = "pipe";
constexpr const char* kClaimFolder = "pipe/.lock";
// Anyone may look whether a claim is locked; only the user's own processes lock it.
constexpr mode_t kClaimMode = 0644;
// A claim may lie in another user's folder: a FIFO in its place must not hold the thread up.
constexpr int kOpening = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;

// Of a claim file, byte 0 is locked while its process lives. Of a dead one's file, which may stand
// under several names, who replaces it under one of them locks a byte for that name.
constexpr off_t kAlive = 0;

off_t Replacing(const std::string& fileName) {
  return 1 + static_cast<off_t>(HashName(fileName) >> 2);
}

std::string ClaimPath(const std::string& fileName) {
  return SharedStatePath(kClaimFolder) + "/" + fileName;
}

bool LockByte(const UniqueFd& file, off_t at) {
  return TryLockByte(file.Get(), at, ByteLock::kExclusive);
}

bool IsAlive(const UniqueFd& file) { return IsByteLockedElsewhere(file.Get(), kAlive); }

// A file may have been removed, or replaced, since it was opened.
bool IsStillAt(const UniqueFd& file, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(file.Get(), &opened) == 0 && stat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

// It is locked before it has a claim's name, so that nobody takes it for a dead process's.
std::shared_ptr<ClaimFile> NewClaimFile(const std::string& path, int& error) {
  std::string temporary = SharedStatePath(kClaimFolder) + "/.~XXXXXX";
  UniqueFd file(mkostemp(temporary.data(), O_CLOEXEC));
  std::shared_ptr<ClaimFile> claim;
  if (file && fchmod(file.Get(), kClaimMode) == 0 && LockByte(file, kAlive)) {
    claim = std::make_shared<ClaimFile>(std::move(file));
    error = claim->LinkAs(path);
  } else {
    error = errno;
  }
  unlink(temporary.c_str());
  return error == 0 ? claim : nullptr;
}

// Links the process's file, or a new one where the present one cannot be linked any more, to
// `path`. 0 or an errno value: EEXIST when the name is taken.
int LinkClaim(const std::string& path, std::shared_ptr<ClaimFile>& file) {
  static auto* const lock = new std::mutex;
  static auto* const current = new std::weak_ptr<ClaimFile>;
  const std::lock_guard guard(*lock);
  file = current->lock();
  int error = file ? file->LinkAs(path) : ENOENT;
  if (error != ENOENT && error != EMLINK) return error;
  file = NewClaimFile(path, error);
  *current = file;
  return error;
}

// Removes what a dead process has left of the name; ERROR_PIPE_BUSY when it is not dead. The socket
// goes first: as long as there is one, its claim says whether it is served.
DWORD RemoveDeadClaim(const std::string& path, const std::string& fileName) {
  const UniqueFd file(open(path.c_str(), O_RDWR | kOpening));
  if (!file) return errno == ENOENT ? 0 : ErrorFromErrno(errno);
  if (IsAlive(file) || !LockByte(file, Replacing(fileName))) return ERROR_PIPE_BUSY;
  if (!IsStillAt(file, path)) return 0;
  unlink(SocketPath(fileName).c_str());
  unlink(path.c_str());
  return 0;
}

}  // namespace

DWORD ClaimName(const std::string& fileName, std::shared_ptr<ClaimFile>& file) {
  StateRootPath();  // Whoever may change the folders could put a socket of his own in their place.
  MakeSharedStateFolder(kSocketFolder);
  MakeSharedStateFolder(kClaimFolder);
  const std::string path = ClaimPath(fileName);
  for (;;) {
    const int error = LinkClaim(path, file);
    if (error == 0) return 0;
    if (error != EEXIST) return ErrorFromErrno(error);
    if (const DWORD busy = RemoveDeadClaim(path, fileName)) return busy;
  }
}

bool IsClaimed(const std::string& fileName) {
  const UniqueFd file(open(ClaimPath(fileName).c_str(), O_RDONLY | kOpening));
  return file && IsAlive(file);
}

void ReleaseClaim(const std::string& fileName) { unlink(ClaimPath(fileName).c_str()); }

std::string SocketPath(const std::string& fileName) {
  return SharedStatePath(kSocketFolder) + "/" + fileName;
}

}  // namespace platform
