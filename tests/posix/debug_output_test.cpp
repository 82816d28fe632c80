#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/debug_listener.h"
#include "platform/windows_api.h"

namespace {

// The next text for the listener, which has to be there already.
std::string Receive(int listener) {
  std::string text(2 * kMaxDebugTextBytes, '\0');
  text.resize(recv(listener, text.data(), text.size(), MSG_DONTWAIT));
  return text;
}

TEST(DebugOutput, ReachesWhoeverListensAndNeverWaits) {
  OutputDebugStringW(u"nobody there");
  const std::string path = std::string(std::getenv("TAGWRIGHT_ROOT")) + "/debug";
  sockaddr_un address{AF_UNIX, {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_DGRAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

  OutputDebugStringW(u"first \u20AC\n");
  OutputDebugStringW((u"x" + std::u16string(kMaxDebugTextBytes, u'\u00E4')).c_str());
  EXPECT_EQ(Receive(listener), "first \u20AC\n");
  const std::string cut = Receive(listener);
  EXPECT_EQ(cut.size(), kMaxDebugTextBytes - 1);
  EXPECT_EQ(cut.substr(cut.size() - 2), "\u00E4") << "between two characters";
  for (int count = 0; count < 1000; ++count) OutputDebugStringW(u"nobody reads this");
  EXPECT_EQ(Receive(listener), "nobody reads this");
  close(listener);
  unlink(path.c_str());
}

TEST(DebugListener, IsTheOnlyOneAndTakesTheDeadOnesPlace) {
  constexpr DWORD kAmpleMs = 60000;
  auto listener = platform::DebugListener::Open();
  ASSERT_NE(listener, nullptr);
  EXPECT_EQ(platform::DebugListener::Open(), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
  OutputDebugStringW(u"first \u20AC\n");
  EXPECT_EQ(listener->Next(kAmpleMs), "first \u20AC\n");
  EXPECT_EQ(listener->Next(0), std::nullopt);

  // A socket file without a listener is what a killed one leaves behind.
  listener.reset();
  const std::string path = std::string(std::getenv("TAGWRIGHT_ROOT")) + "/debug";
  sockaddr_un address{AF_UNIX, {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int dead = socket(AF_UNIX, SOCK_DGRAM, 0);
  ASSERT_EQ(bind(dead, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(dead);
  EXPECT_NE(platform::DebugListener::Open(), nullptr);
}

}  // namespace
