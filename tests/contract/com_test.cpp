#include <gtest/gtest.h>

#include "common/test_thread.h"
#include "platform/windows_api.h"

namespace {

TEST(ComTest, InitialisationIsCountedPerThread) {
  const auto body = [] {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
    return 0U;
  };
  TestThread first(body);
  TestThread second(body);
  first.Join();
  second.Join();
}

}  // namespace
