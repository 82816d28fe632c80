/// Addresses of Unix sockets that need not fit into the 108 bytes of sun_path: they go through an
/// open descriptor's entry in /proc.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// What `descriptor` (O_PATH) stands for or, with a name, a file in that folder. The name must be
/// short; the descriptor must stay open while the address is used.
class LocalAddress {
 public:
  explicit LocalAddress(int descriptor, const std::string& name = {});
  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&_address); }
  socklen_t Size() const { return sizeof _address; }

 private:
  sockaddr_un _address{};
};

/// A new socket of `type`; without a descriptor, and with errno set, when there is none.
UniqueFd NewLocalSocket(int type);

/// Connects a new non-blocking socket of `type` to the socket file at `path`. 0 or an errno value:
/// ENOENT (no such file), ECONNREFUSED (nobody listens), EAGAIN (the listener is full), ...
int ConnectLocal(const std::string& path, int type, UniqueFd& socket);

}  // namespace platform
