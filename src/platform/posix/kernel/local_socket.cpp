#include "platform/posix/kernel/local_socket.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace platform {

LocalAddress::LocalAddress(int descriptor, const std::string& name) {
  _address.sun_family = AF_UNIX;
  std::snprintf(_address.sun_path, sizeof _address.sun_path, "/proc/self/fd/%d%s%s", descriptor,
                name.empty() ? "" : "/", name.c_str());
}

UniqueFd NewLocalSocket(int type) { return UniqueFd(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0)); }

int ConnectLocal(const std::string& path, int type, UniqueFd& socket) {
  const UniqueFd file(open(path.c_str(), O_PATH | O_CLOEXEC));
  if (!file) return errno;
  UniqueFd connecting = NewLocalSocket(type | SOCK_NONBLOCK);
  if (!connecting) return errno;
  const LocalAddress address(file.Get());
  if (connect(connecting.Get(), address.Get(), address.Size()) != 0) return errno;
  socket = std::move(connecting);
  return 0;
}

}  // namespace platform
