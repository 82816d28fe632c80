#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

#include "bench/echo.h"

namespace Bench {
namespace {

/// A socket that closes itself.
class Socket {
 public:
  explicit Socket(int descriptor) : _descriptor(descriptor) {}
  ~Socket() { close(_descriptor); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  bool Read(char* bytes) const {
    return recv(_descriptor, bytes, kEchoBytes, MSG_WAITALL) == kEchoBytes;
  }
  bool Write(const char* bytes) const {
    return send(_descriptor, bytes, kEchoBytes, MSG_NOSIGNAL) == kEchoBytes;
  }

 private:
  const int _descriptor;
};

void Echo(const Socket& socket) {
  char bytes[kEchoBytes];
  while (socket.Read(bytes) && socket.Write(bytes)) {
  }
}

}  // namespace

std::optional<Timings> SocketEcho(int repetitions) {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
    throw std::runtime_error("no sockets for the echo");
  }
  const Socket server(pair[0]);
  const std::jthread echo([&server] { Echo(server); });
  const Socket client(pair[1]);
  char bytes[kEchoBytes] = {};
  return Timings::Of(repetitions, [&] {
    if (!client.Write(bytes) || !client.Read(bytes)) {
      throw std::runtime_error("the socket echo failed");
    }
  });
}

}  // namespace Bench
