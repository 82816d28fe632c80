#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace {

/// What listens to the debugger output.
class Listener {
 public:
  Listener() : _path(std::string(std::getenv("TAGWRIGHT_ROOT")) + "/debug") {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    _path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~Listener() {
    close(_socket);
    unlink(_path.c_str());
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  /// The text that is already there; empty when there is none.
  std::string Receive() {
    std::vector<char> buffer(2 * kMaxDebugTextBytes);
    const ssize_t count = recv(_socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
    return {buffer.data(), static_cast<std::size_t>(count > 0 ? count : 0)};
  }

 private:
  std::string _path;
  int _socket = socket(AF_UNIX, SOCK_DGRAM, 0);
};

TEST(DebugOutput, ReachesWhoeverListens) {
  OutputDebugStringW(u"nobody there");
  Listener listener;
  EXPECT_EQ(listener.Receive(), "");
  SetLastError(42);
  OutputDebugStringW(u"first \u20AC\n");
  OutputDebugStringW(u"second");
  EXPECT_EQ(GetLastError(), 42U);
  EXPECT_EQ(listener.Receive(), "first \u20AC\n");
  EXPECT_EQ(listener.Receive(), "second");
}

TEST(DebugOutput, LongTextsAreCutBetweenCharacters) {
  Listener listener;
  OutputDebugStringW((u"x" + std::u16string(kMaxDebugTextBytes, u'\u00E4')).c_str());
  const std::string received = listener.Receive();
  EXPECT_EQ(received.size(), kMaxDebugTextBytes - 1);
  EXPECT_EQ(received.substr(received.size() - 2), "\u00E4");
}

TEST(DebugOutput, NeverWaitsForAListener) {
  Listener listener;
  for (int text = 0; text < 2000; ++text) OutputDebugStringW(u"nobody reads this");
  EXPECT_EQ(listener.Receive(), "nobody reads this");
}

}  // namespace
