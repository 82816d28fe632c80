/// Whoever listens to the layer's debugger output.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "platform/posix/kernel/state_paths.h"

/// Listens while it lives; one at a time.
class DebugListener {
 public:
  DebugListener() : _socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, _path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(bind(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~DebugListener() {
    close(_socket);
    unlink(_path.c_str());
  }
  DebugListener(const DebugListener&) = delete;
  DebugListener& operator=(const DebugListener&) = delete;

  /// The next text that was sent; empty when there is none.
  std::string Next() {
    std::string text(1 << 20, '\0');
    const ssize_t size = recv(_socket, text.data(), text.size(), MSG_DONTWAIT);
    text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return text;
  }

 private:
  const std::string _path = platform::StateRootPath() + "/debug";
  const int _socket;
};
