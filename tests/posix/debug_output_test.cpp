#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/debug_listener.h"
#include "platform/windows_api.h"

namespace {

constexpr DWORD kAmpleMs = 60000;

TEST(DebugOutput, ReachesWhoeverListensAndNeverWaits) {
  OutputDebugStringW(u"nobody there");
  const auto listener = platform::DebugListener::Open();
  ASSERT_NE(listener, nullptr);
  OutputDebugStringW(u"first \u20AC\n");
  OutputDebugStringW((u"x" + std::u16string(kMaxDebugTextBytes, u'\u00E4')).c_str());
  EXPECT_EQ(listener->Next(kAmpleMs), "first \u20AC\n");
  const std::string cut = listener->Next(kAmpleMs).value();
  EXPECT_EQ(cut.size(), kMaxDebugTextBytes - 1);
  EXPECT_EQ(cut.substr(cut.size() - 2), "\u00E4") << "between two characters";
  EXPECT_EQ(listener->Next(0), std::nullopt);
  for (int count = 0; count < 1000; ++count) OutputDebugStringW(u"nobody reads this");
  EXPECT_EQ(listener->Next(kAmpleMs), "nobody reads this");
}

TEST(DebugListener, IsTheOnlyOneAndTakesTheDeadOnesPlace) {
  auto listener = platform::DebugListener::Open();
  ASSERT_NE(listener, nullptr);
  EXPECT_EQ(platform::DebugListener::Open(), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
  // A socket file without a listener is what a killed one leaves behind.
  const auto path = std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / "debug";
  std::filesystem::rename(path, path.string() + ".kept");
  listener.reset();
  std::filesystem::rename(path.string() + ".kept", path);
  EXPECT_NE(platform::DebugListener::Open(), nullptr);
}

}  // namespace
