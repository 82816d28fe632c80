#include "bench/posix/child.h"

#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "pipe/message_header.h"

namespace Bench {
namespace {

/// How long to wait before a socket is looked for again, and how often: half a minute in all.
constexpr useconds_t kLookAgainUs = 20;
constexpr int kAttempts = 500000;

}  // namespace

std::string ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

Child::Child(std::vector<std::string> command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  if (posix_spawn(&_id, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    throw std::runtime_error("cannot start " + command[0]);
  }
}

Child::~Child() {
  kill(_id, SIGKILL);
  waitpid(_id, nullptr, 0);
}

Connection::Connection(const std::string& path)
    : _socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{AF_UNIX, {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (connect(_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
    usleep(kLookAgainUs);
  }
  throw std::runtime_error("nobody listens at " + path);
}

Connection::~Connection() { close(_socket); }

void Connection::Send(std::uint32_t type, std::string_view payload) {
  Tagwright::MessageHeader header;
  header.messageType = type;
  header.payloadLength = static_cast<std::uint32_t>(payload.size());
  iovec pieces[] = {{&header, sizeof header}, {const_cast<char*>(payload.data()), payload.size()}};
  msghdr message{};
  message.msg_iov = pieces;
  message.msg_iovlen = 2;
  if (sendmsg(_socket, &message, MSG_NOSIGNAL) !=
      static_cast<ssize_t>(sizeof header + payload.size())) {
    throw std::runtime_error("a request was not taken");
  }
}

std::uint32_t Connection::Receive() {
  Tagwright::MessageHeader reply;
  if (recv(_socket, &reply, sizeof reply, MSG_WAITALL) != sizeof reply) {
    throw std::runtime_error("a request was not answered");
  }
  return reply.status;
}

void Connection::RoundTrip(std::uint32_t type, std::string_view payload,
                           std::uint32_t expectedStatus) {
  Send(type, payload);
  if (const std::uint32_t status = Receive(); status != expectedStatus) {
    throw std::runtime_error("a request was answered with status " + std::to_string(status));
  }
}

}  // namespace Bench
