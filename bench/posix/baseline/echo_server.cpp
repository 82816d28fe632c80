/// tagwright_bench_echo PATH: the small server that tagwright is measured beside. It listens on a
/// Unix socket, accepts one client and answers each request (a 16-byte header with the payload's
/// length at offset 8, and the payload) with 16 bytes, with as few system calls as there can be.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr std::size_t kHeaderBytes = 16;
constexpr std::size_t kLargestPayloadBytes = 16 * 1024 * 1024;

char g_request[kHeaderBytes + kLargestPayloadBytes];

/// False when the client has gone.
bool ReceiveRequest(int client) {
  std::size_t size = 0;
  std::size_t expected = kHeaderBytes;
  while (size < expected) {
    const ssize_t count = recv(client, g_request + size, sizeof g_request - size, 0);
    if (count <= 0) return false;
    size += static_cast<std::size_t>(count);
    std::uint32_t payloadBytes = 0;
    std::memcpy(&payloadBytes, g_request + 8, sizeof payloadBytes);
    if (size >= kHeaderBytes) expected = kHeaderBytes + payloadBytes;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (argc != 2 || std::strlen(argv[1]) >= sizeof address.sun_path) return 2;
  std::strcpy(address.sun_path, argv[1]);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return 1;
  listen(listener, 1);
  const int client = accept(listener, nullptr, nullptr);
  while (ReceiveRequest(client) && send(client, g_request, kHeaderBytes, MSG_NOSIGNAL) > 0) {
  }
  unlink(argv[1]);
  return 0;
}
