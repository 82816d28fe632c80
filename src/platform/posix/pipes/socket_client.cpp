#include "platform/posix/pipes/socket_client.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/posix/kernel/process_ids.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {
namespace {

/// The kernel fills no larger piece of a dump.
constexpr std::size_t kPieceBytes = 32768;

struct Request {
  nlmsghdr header;
  unix_diag_req body;
};

struct Socket {
  std::uint32_t fileInode = 0;  ///< Of the socket file that its server is bound to.
  std::uint32_t peer = 0;       ///< The number of the socket at the other end; 0 without one.
};

bool AskForAllSockets(int netlink) {
  Request request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.body.sdiag_family = AF_UNIX;
  request.body.udiag_states = ~0U;
  request.body.udiag_show = UDIAG_SHOW_VFS | UDIAG_SHOW_PEER;
  return send(netlink, &request, sizeof request, 0) == static_cast<ssize_t>(sizeof request);
}

Socket SocketIn(const nlmsghdr& message) {
  Socket socket;
  const auto* attribute = reinterpret_cast<const rtattr*>(
      static_cast<const char*>(NLMSG_DATA(&message)) + NLMSG_ALIGN(sizeof(unix_diag_msg)));
  auto size = static_cast<int>(NLMSG_PAYLOAD(&message, sizeof(unix_diag_msg)));
  for (; RTA_OK(attribute, size); attribute = RTA_NEXT(attribute, size)) {
    // The first number of either is what is looked for.
    if (attribute->rta_type == UNIX_DIAG_VFS) {
      std::memcpy(&socket.fileInode, RTA_DATA(attribute), sizeof socket.fileInode);
    } else if (attribute->rta_type == UNIX_DIAG_PEER) {
      std::memcpy(&socket.peer, RTA_DATA(attribute), sizeof socket.peer);
    }
  }
  return socket;
}

/// Calls `take` with every socket of the machine. False when the kernel does not tell them.
template <class Take>
bool ForEachSocket(Take take) {
  const UniqueFd netlink(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
  if (!netlink || !AskForAllSockets(netlink.Get())) return false;
  std::vector<char> piece(kPieceBytes);
  for (;;) {
    const ssize_t received = recv(netlink.Get(), piece.data(), piece.size(), 0);
    if (received <= 0) return false;
    auto size = static_cast<std::uint32_t>(received);
    const auto* message = reinterpret_cast<const nlmsghdr*>(piece.data());
    for (; NLMSG_OK(message, size); message = NLMSG_NEXT(message, size)) {
      if (message->nlmsg_type == NLMSG_DONE) return true;
      if (message->nlmsg_type == NLMSG_ERROR) return false;
      take(SocketIn(*message));
    }
  }
}

bool HasSocket(const std::filesystem::path& process, std::uint32_t socket) {
  const std::string wanted = "socket:[" + std::to_string(socket) + "]";
  std::error_code ignored;  // The process may end at any moment.
  for (std::filesystem::directory_iterator descriptor(process / "fd", ignored), end;
       descriptor != end; descriptor.increment(ignored)) {
    if (std::filesystem::read_symlink(descriptor->path(), ignored) == wanted) return true;
  }
  return false;
}

std::optional<DWORD> OwnerOf(std::uint32_t socket) {
  for (const DWORD id : ProcessIds()) {
    if (HasSocket("/proc/" + std::to_string(id), socket)) return id;
  }
  return std::nullopt;
}

}  // namespace

std::optional<DWORD> ClientOfSocket(const std::string& path) {
  struct stat file {};
  if (stat(path.c_str(), &file) != 0) return 0;
  std::uint32_t peer = 0;
  const bool isTold = ForEachSocket([&](const Socket& socket) {
    const bool isOfServer = socket.fileInode == static_cast<std::uint32_t>(file.st_ino);
    if (isOfServer && socket.peer != 0) peer = socket.peer;
  });
  if (!isTold) return std::nullopt;
  return peer == 0 ? 0 : OwnerOf(peer);
}

}  // namespace platform
