/// Locks between threads; the kernel mutex behind them has its own tests.
#include <gtest/gtest.h>

#include <thread>

#include "common/unique_name.h"
#include "support/osynchronizer.h"
#include "support/scoped_handle.h"

namespace {

OString UniqueMutexName() { return OString(UniqueName(TEXT("Tagwright Test ")).c_str()); }

/// What a wait for the mutex on another thread gives, without waiting.
DWORD TryFromOtherThread(const OString& name) {
  DWORD result = WAIT_FAILED;
  std::jthread([&] {
    const ScopedHandle mutex(CreateMutexW(nullptr, FALSE, name.wstring()));
    result = WaitForSingleObject(mutex.Get(), 0);
    if (result == WAIT_OBJECT_0) ReleaseMutex(mutex.Get());
  }).join();
  return result;
}

TEST(Locks, ExcludeOtherThreads) {
  const OString name = UniqueMutexName();
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
  const OString name = UniqueMutexName();
  OMutex mutex(name, INFINITE);
  {
    const OAutoLock lock(mutex), idle(mutex, OAutoLock::kDoNotAcquire);
    std::jthread([&] {
      OMutex impatient(name, 10);
      const OAutoLock goesOnUnprotected(impatient);
    }).join();
    EXPECT_EQ(TryFromOtherThread(name), DWORD{WAIT_TIMEOUT}) << "only its owner gives it back";
  }
  EXPECT_EQ(TryFromOtherThread(name), DWORD{WAIT_OBJECT_0});
}

TEST(Locks, WithoutANameExcludesNobody) {
  OMutex first("", INFINITE), second("", INFINITE);
  const OAutoLock lock(first);
  std::jthread([&] { const OAutoLock other(second); }).join();
}

}  // namespace
