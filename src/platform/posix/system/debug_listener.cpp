#include "platform/debug_listener.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/api/debug_output.h"
#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/local_socket.h"
#include "platform/posix/kernel/state_paths.h"

namespace platform {
namespace {

constexpr const char* kName = "debug";

class SocketListener : public DebugListener {
 public:
  SocketListener(UniqueFd folder, UniqueFd socket)
      : _folder(std::move(folder)), _socket(std::move(socket)) {}
  ~SocketListener() override { unlinkat(_folder.Get(), kName, 0); }

  std::optional<std::string> Next(DWORD timeoutMs) override {
    const KernelScope scope;
    pollfd ready{_socket.Get(), POLLIN, 0};
    if (poll(&ready, 1, timeoutMs == INFINITE ? -1 : static_cast<int>(timeoutMs)) <= 0) return {};
    std::string text(kMaxDebugTextBytes, '\0');
    const ssize_t size = recv(_socket.Get(), text.data(), text.size(), MSG_DONTWAIT);
    if (size < 0) return std::nullopt;
    text.resize(static_cast<std::size_t>(size));
    return text;
  }

 private:
  const UniqueFd _folder;
  const UniqueFd _socket;
};

/// Whether somebody reads from the socket that is there.
bool IsListenedTo() {
  UniqueFd socket;
  return ConnectLocal(StateRootPath() + "/" + kName, SOCK_DGRAM, socket) == 0;
}

}  // namespace

std::unique_ptr<DebugListener> DebugListener::Open() {
  const KernelScope scope;
  if (IsListenedTo()) {
    SetLastError(ERROR_ALREADY_EXISTS);
    return nullptr;
  }
  UniqueFd folder(open(StateRootPath().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  UniqueFd socket = NewLocalSocket(SOCK_DGRAM);
  // One that a dead listener left behind.
  if (folder) unlinkat(folder.Get(), kName, 0);
  const LocalAddress address(folder.Get(), kName);
  if (!folder || !socket || fchmod(socket.Get(), kPrivateFile) != 0 ||
      bind(socket.Get(), address.Get(), address.Size()) != 0) {
    SetLastError(ErrorFromErrno(errno));
    return nullptr;
  }
  return std::make_unique<SocketListener>(std::move(folder), std::move(socket));
}

}  // namespace platform
