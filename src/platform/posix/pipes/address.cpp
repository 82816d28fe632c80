#include "platform/posix/pipes/address.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <mutex>
#include <set>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/file_name.h"
#include "platform/posix/kernel/local_socket.h"
#include "platform/posix/kernel/process_exit.h"

namespace platform {
namespace {

// What the end of the process has to clean up.
struct ClaimedAddresses {
  std::mutex lock;
  std::set<PipeAddress*> addresses;
};

ClaimedAddresses& Claimed() {
  static auto* const claimed = new ClaimedAddresses;  // Outlives every pipe, also at exit.
  return *claimed;
}

/// Which socket file stands at a path; two that follow one another differ, even when the file
/// system gives the second one the number of the first.
struct SocketFile {
  explicit SocketFile(const std::string& path) {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0) return;
    inode = found.st_ino;
    seconds = found.st_ctim.tv_sec;
    nanoseconds = found.st_ctim.tv_nsec;
  }
  bool operator==(const SocketFile&) const = default;

  ino_t inode = 0;
  time_t seconds = 0;
  long nanoseconds = 0;
};

}  // namespace

DWORD PipeAddress::Claim(const std::string& fileName, bool forEveryone,
                         std::unique_ptr<PipeAddress>& address) {
  std::shared_ptr<ClaimFile> claim;
  if (const DWORD error = ClaimName(fileName, claim)) return error;
  address.reset(new PipeAddress(fileName, forEveryone, std::move(claim)));
  return 0;
}

PipeAddress::PipeAddress(std::string fileName, bool forEveryone, std::shared_ptr<ClaimFile> claim)
    : _fileName(std::move(fileName)),
      _forEveryone(forEveryone),
      _owner(getpid()),
      _claim(std::move(claim)) {
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
  if (getpid() != _owner) return;  // A forked copy of the process owns none of this.
  const std::string path = SocketPath(_fileName);
  struct stat current {};
  if (lstat(path.c_str(), &current) == 0 && current.st_ino == _socketInode) unlink(path.c_str());
  ReleaseClaim(_fileName);
}

UniqueFd PipeAddress::Listen() {
  const std::string path = SocketPath(_fileName);
  const std::string folderPath = path.substr(0, path.size() - _fileName.size());
  const UniqueFd folder(open(folderPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  UniqueFd socket = NewLocalSocket(SOCK_STREAM | SOCK_NONBLOCK);
  // A pipe's file name never starts with a dot, and the claim keeps others off this one.
  const std::string temporaryName = ".~" + HashText(_fileName);
  if (!folder || !socket || !Publish(folder.Get(), socket.Get(), temporaryName)) {
    const int error = errno;
    if (folder) unlinkat(folder.Get(), temporaryName.c_str(), 0);
    errno = error;
    return {};
  }
  return socket;
}

// The name appears only when connecting to it works, and takes the place of the one before in one
// step.
bool PipeAddress::Publish(int folder, int socket, const std::string& temporaryName) {
  unlinkat(folder, temporaryName.c_str(), 0);
  const LocalAddress address(folder, temporaryName);
  const mode_t mode = _forEveryone ? kFileForEveryone : kPrivateFile;
  struct stat created {};
  if (fchmod(socket, kPrivateFile) != 0 || bind(socket, address.Get(), address.Size()) != 0 ||
      fchmodat(folder, temporaryName.c_str(), mode, 0) != 0 ||
      fstatat(folder, temporaryName.c_str(), &created, AT_SYMLINK_NOFOLLOW) != 0 ||
      listen(socket, 0) != 0 ||
      renameat(folder, temporaryName.c_str(), folder, _fileName.c_str()) != 0) {
    return false;
  }
  _socketInode = created.st_ino;
  return true;
}

DWORD ConnectToPipe(const std::string& fileName, UniqueFd& socket) {
  const std::string path = SocketPath(fileName);
  for (;;) {
    const SocketFile before(path);
    const int error = ConnectLocal(path, SOCK_STREAM, socket);
    if (error == 0) {
      fcntl(socket.Get(), F_SETFL, 0);  // Connecting must not block; reading sleeps in the call.
      return 0;
    }
    if (error == EAGAIN) return ERROR_PIPE_BUSY;  // One client is waiting to be accepted.
    if (error != ECONNREFUSED) return ErrorFromErrno(error);
    const bool isServed = IsClaimed(fileName);
    // Who has refused, and who has the name now, are the same only if the socket still is.
    if (SocketFile(path) == before) return isServed ? ERROR_PIPE_BUSY : ERROR_FILE_NOT_FOUND;
  }
}

}  // namespace platform
