#include "platform/posix/pipes/address.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <limits>
#include <mutex>
#include <set>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/file_name.h"
#include "platform/posix/kernel/local_socket.h"
#include "platform/posix/kernel/process_exit.h"
#include "platform/posix/kernel/state_paths.h"

namespace platform {
namespace {

constexpr const char* kSocketFolder = "pipe";
constexpr const char* kLockFolder = "pipe/.lock";
constexpr mode_t kModeForEveryone = 0666;
constexpr mode_t kModeForUser = 0600;
// Anyone may look whether the lock is held; only the user's own processes take it.
constexpr mode_t kLockFileMode = 0644;

// What the end of the process has to clean up.
struct ClaimedAddresses {
  std::mutex lock;
  std::set<PipeAddress*> addresses;
};

ClaimedAddresses& Claimed() {
  static auto* const claimed = new ClaimedAddresses;  // outlives every pipe, also at exit
  return *claimed;
}

std::string LockPath(const std::string& fileName) {
  return StateFolder(kLockFolder) + "/" + fileName;
}

// Of a lock file, byte 0 is the claim on the name; the byte after a socket's inode number says that
// this very socket is served, so that one left behind by a dead process is not taken for it.
constexpr off_t kClaim = 0;

off_t ServedMark(ino_t socketInode) {
  return 1 + static_cast<off_t>(socketInode & (std::numeric_limits<off_t>::max() >> 1));
}

struct flock OneByte(short type, off_t at) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = at;
  range.l_len = 1;
  return range;
}

bool LockByte(int fd, off_t at) {
  struct flock range = OneByte(F_WRLCK, at);
  return fcntl(fd, F_OFD_SETLK, &range) == 0;
}

// The lock file may have been removed, or replaced, between opening and locking it.
bool IsStillAt(int fd, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(fd, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

DWORD TakeLock(const std::string& path, UniqueFd& lock) {
  for (;;) {
    UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kLockFileMode));
    if (!file) return ErrorFromErrno(errno);
    if (!LockByte(file.Get(), kClaim)) {
      return errno == EAGAIN || errno == EACCES ? ERROR_PIPE_BUSY : ErrorFromErrno(errno);
    }
    if (IsStillAt(file.Get(), path)) {
      lock = std::move(file);
      return 0;
    }
  }
}

bool IsServed(const std::string& fileName, ino_t socketInode) {
  const UniqueFd file(open(LockPath(fileName).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  struct flock range = OneByte(F_WRLCK, ServedMark(socketInode));
  return file && fcntl(file.Get(), F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

// 0 when there is no such file.
ino_t InodeOf(const std::string& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 ? found.st_ino : 0;
}

}  // namespace

DWORD PipeAddress::Claim(const std::string& fileName, bool forEveryone,
                         std::unique_ptr<PipeAddress>& address) {
  UniqueFd folder(open(StateFolder(kSocketFolder).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return ErrorFromErrno(errno);
  UniqueFd lock;
  if (const DWORD error = TakeLock(LockPath(fileName), lock)) return error;
  address.reset(new PipeAddress(fileName, forEveryone, std::move(folder), std::move(lock)));
  return 0;
}

PipeAddress::PipeAddress(std::string fileName, bool forEveryone, UniqueFd folder, UniqueFd lock)
    : _fileName(std::move(fileName)),
      _forEveryone(forEveryone),
      _owner(getpid()),
      _folder(std::move(folder)),
      _lock(std::move(lock)) {
  static const bool isRegistered = (AtProcessExit(&PipeAddress::ReleaseAll), true);
  (void)isRegistered;
  const std::lock_guard guard(Claimed().lock);
  Claimed().addresses.insert(this);
}

PipeAddress::~PipeAddress() {
  const std::lock_guard guard(Claimed().lock);
  if (Claimed().addresses.erase(this) > 0) Release();
}

void PipeAddress::ReleaseAll() {
  const std::lock_guard guard(Claimed().lock);
  for (PipeAddress* const address : Claimed().addresses) address->Release();
  Claimed().addresses.clear();
}

void PipeAddress::Release() {
  // A forked copy of the process owns none of this, although it shares the lock.
  if (getpid() != _owner) return;
  struct stat current {};
  if (fstatat(_folder.Get(), _fileName.c_str(), &current, AT_SYMLINK_NOFOLLOW) == 0 &&
      current.st_ino == _socketInode) {
    unlinkat(_folder.Get(), _fileName.c_str(), 0);
  }
  unlink(LockPath(_fileName).c_str());
  // Said aloud: a child that is just being started may still share the descriptor for a moment.
  struct flock wholeFile {};
  wholeFile.l_type = F_UNLCK;
  wholeFile.l_whence = SEEK_SET;
  fcntl(_lock.Get(), F_OFD_SETLK, &wholeFile);
}

UniqueFd PipeAddress::Listen() {
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  // A pipe's file name never starts with a dot, and the lock keeps others off this one.
  const std::string temporaryName = ".~" + HashText(_fileName);
  if (!socket || !Publish(socket.Get(), temporaryName)) {
    const int error = errno;
    unlinkat(_folder.Get(), temporaryName.c_str(), 0);
    errno = error;
    return {};
  }
  return socket;
}

// The name appears only when connecting to it works, and takes the place of a dead one in one step.
bool PipeAddress::Publish(int socket, const std::string& temporaryName) {
  unlinkat(_folder.Get(), temporaryName.c_str(), 0);
  const LocalAddress address(_folder.Get(), temporaryName);
  struct stat created {};
  if (fchmod(socket, kModeForUser) != 0 || bind(socket, address.Get(), address.Size()) != 0 ||
      fchmodat(_folder.Get(), temporaryName.c_str(), _forEveryone ? kModeForEveryone : kModeForUser,
               0) != 0 ||
      fstatat(_folder.Get(), temporaryName.c_str(), &created, AT_SYMLINK_NOFOLLOW) != 0 ||
      listen(socket, 0) != 0 || !LockByte(_lock.Get(), ServedMark(created.st_ino)) ||
      renameat(_folder.Get(), temporaryName.c_str(), _folder.Get(), _fileName.c_str()) != 0) {
    return false;
  }
  _socketInode = created.st_ino;
  return true;
}

DWORD ConnectToPipe(const std::string& fileName, UniqueFd& socket) {
  const std::string path = StateFolder(kSocketFolder) + "/" + fileName;
  for (;;) {
    const ino_t inode = InodeOf(path);
    const int error = ConnectLocal(path, SOCK_STREAM, socket);
    if (error == 0) return 0;
    if (error == EAGAIN) return ERROR_PIPE_BUSY;  // one client is waiting to be accepted
    if (error != ECONNREFUSED) return ErrorFromErrno(error);
    if (IsServed(fileName, inode)) return ERROR_PIPE_BUSY;
    if (InodeOf(path) == inode) return ERROR_FILE_NOT_FOUND;
    // Another socket has taken the name meanwhile.
  }
}

}  // namespace platform
