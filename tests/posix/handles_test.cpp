/// Handles that are used, closed and made at the same time.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <deque>

#include "common/test_thread.h"
#include "platform/posix/kernel/unique_fd.h"
#include "platform/windows_api.h"

namespace {

HANDLE OpenFile() {
  return CreateFileW(u"C:\\handles.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
}

int LowestFreeDescriptor() { return platform::UniqueFd(open("/dev/null", O_RDONLY)).Get(); }

TEST(Handles, ClosedOnesLeaveWithTheirLastUser) {
  constexpr int kFiles = 300;
  constexpr int kUsesOfAFile = 4;
  CloseHandle(OpenFile());  // What is opened once for all is open now.
  const int descriptor = LowestFreeDescriptor();
  std::atomic<HANDLE> file{nullptr};
  std::atomic<int> uses{0};
  std::atomic<bool> isOver{false};
  std::deque<TestThread> users;
  for (int i = 0; i < 2; ++i) {
    users.emplace_back([&]() -> unsigned {
      while (!isOver) {
        DWORD done = 0;
        const bool isWritten = WriteFile(file, "x", 1, &done, nullptr) != FALSE;
        EXPECT_TRUE(isWritten || GetLastError() == ERROR_INVALID_HANDLE) << GetLastError();
        uses += isWritten ? 1 : 0;
      }
      return 0;
    });
  }
  HANDLE former = nullptr;
  for (int i = 0; i < kFiles; ++i) {
    const HANDLE opened = OpenFile();
    ASSERT_NE(opened, former);
    const int before = uses;
    file = former = opened;
    while (uses < before + kUsesOfAFile) Sleep(0);
    ASSERT_TRUE(CloseHandle(opened));
    ASSERT_FALSE(CloseHandle(opened));
  }
  isOver = true;
  for (TestThread& user : users) user.Join();
  EXPECT_EQ(LowestFreeDescriptor(), descriptor);
}

}  // namespace
