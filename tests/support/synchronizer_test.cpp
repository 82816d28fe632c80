/// Locks between threads; the kernel mutex behind them has its own tests.
#include <gtest/gtest.h>

#include <thread>

#include "common/unique_name.h"
#include "support/osynchronizer.h"
#include "support/scoped_handle.h"

namespace {

TEST(Locks, ExcludeOtherThreads) {
  const OString name = UniqueName(TEXT("Tagwright Test ")).c_str();
  OCriticalSection section;
  int byMutex = 0, bySection = 0;
  const auto work = [&] {
    OMutex mutex(name, INFINITE);
    for (int round = 0; round < 500; ++round) {
      const OAutoLock lock(mutex);
      ++byMutex;
    }
    for (int round = 0; round < 5000; ++round) {
      const OAutoLock outer(section), inner(section);
      ++bySection;
    }
  };
  { std::jthread first(work), second(work); }
  EXPECT_EQ(byMutex, 1000);
  EXPECT_EQ(bySection, 10000);
}

TEST(Locks, AreHeldForTheirScopeWhateverAnImpatientThreadDoes) {
  const OString name = UniqueName(TEXT("Tagwright Test ")).c_str();
  OMutex mutex(name, INFINITE), foreign(name, 10);
  const ScopedHandle raw(CreateMutexW(nullptr, FALSE, name.wstring()));
  DWORD result = WAIT_FAILED;
  const auto tryElsewhere = [&] {
    { const OAutoLock goesOnUnprotected(foreign); }
    result = WaitForSingleObject(raw.Get(), 0);
    if (result == WAIT_OBJECT_0) ReleaseMutex(raw.Get());
  };
  {
    const OAutoLock lock(mutex), idle(mutex, OAutoLock::kDoNotAcquire);
    std::jthread(tryElsewhere).join();
    EXPECT_EQ(result, DWORD{WAIT_TIMEOUT}) << "only its owner gives it back";
  }
  std::jthread(tryElsewhere).join();
  EXPECT_EQ(result, DWORD{WAIT_OBJECT_0});
}

}  // namespace
