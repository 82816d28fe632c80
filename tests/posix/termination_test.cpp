/// Threads that TerminateThread cannot end at once.
#include <gtest/gtest.h>
#include <unistd.h>

#include "common/test_thread.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/unique_fd.h"
#include "platform/windows_api.h"

namespace {

TEST(Termination, DoesNotWaitForAThreadThatTheLayerKeepsBusy) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  const platform::UniqueFd hangs(ends[0]);
  platform::UniqueFd release(ends[1]);
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  const HANDLE inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  TestThread thread([&]() -> unsigned {
    WaitForSingleObject(mutex, INFINITE);
    {
      platform::KernelScope scope;
      SetEvent(inside);
      char nothing = 0;
      while (read(hangs.Get(), &nothing, 1) < 0) continue;
    }
    return 7;
  });
  ASSERT_EQ(WaitForSingleObject(inside, TestThread::kBoundMs), WAIT_OBJECT_0);
  EXPECT_TRUE(TerminateThread(thread.Handle(), 260));
  EXPECT_EQ(thread.ExitCode(), STILL_ACTIVE);
  EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);
  EXPECT_FALSE(TerminateThread(thread.Handle(), 261));

  release.Reset();
  thread.Join();
  EXPECT_EQ(thread.ExitCode(), 260U);
  EXPECT_EQ(WaitForSingleObject(mutex, TestThread::kBoundMs), WAIT_ABANDONED);
  CloseHandle(mutex);
  CloseHandle(inside);
}

}  // namespace
