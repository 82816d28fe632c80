/// The end of several threads as one wait tells it.
#include "support/thread_end.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/scoped_handle.h"
#include "support/thread_start.h"

namespace {

TEST(ThreadEndTest, TellsHowTheWaitCameOut) {
  const ScopedHandle ended(CreateManualResetEvent()), running(CreateManualResetEvent());
  SetEvent(ended.Get());
  const auto await = [](std::vector<HANDLE> threads) { return AwaitThreads(threads, 1); };
  EXPECT_EQ(await({}), ThreadEnd::kFailed);
  EXPECT_EQ(await({ended.Get(), nullptr}), ThreadEnd::kFailed);
  EXPECT_EQ(await(std::vector<HANDLE>(65, ended.Get())), ThreadEnd::kFailed);
  EXPECT_EQ(await({ended.Get(), running.Get()}), ThreadEnd::kTimedOut);
  const ScopedHandle mutex(CreateMutexW(nullptr, FALSE, nullptr));
  std::jthread([&] { WaitForSingleObject(mutex.Get(), INFINITE); }).join();
  EXPECT_EQ(await({mutex.Get(), ended.Get()}), ThreadEnd::kAbandoned);
  SetEvent(running.Get());
  EXPECT_EQ(await({ended.Get(), running.Get()}), ThreadEnd::kEnded);
  EXPECT_EQ(await({ended.Get(), running.Get()}), ThreadEnd::kEnded) << "they stay signalled";
}

}  // namespace
