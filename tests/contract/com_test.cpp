#include <gtest/gtest.h>

#include "common/test_thread.h"
#include "platform/windows_api.h"

namespace {

TEST(ComTest, InitialisationIsCountedPerThread) {
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
  CoUninitialize();
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
  const auto initialise = [] { return unsigned(CoInitializeEx(nullptr, COINIT_MULTITHREADED)); };
  TestThread other(initialise);
  other.Join();
  EXPECT_EQ(other.ExitCode(), DWORD(S_OK));
  CoUninitialize();
  EXPECT_EQ(initialise(), unsigned(S_OK));
  CoUninitialize();
}

}  // namespace
