/// Locks between threads; the kernel mutex behind them has its own tests.
#include <gtest/gtest.h>

#include <thread>

#include "common/test_thread.h"
#include "common/unique_name.h"
#include "support/osynchronizer.h"
#include "support/scoped_handle.h"

namespace {

/// Another thread waits for `other` until this one has released `held` as often as it acquired it.
void ExpectExclusion(OSynchronizer& held, OSynchronizer& other) {
  held.Acquire();
  held.Acquire();
  TestThread patient([&other] {
    const OAutoLock waits(other);
    return 0;
  });
  held.Release();
  { const OAutoLock leavesItAlone(held, OAutoLock::kDoNotAcquire); }
  EXPECT_EQ(WaitForSingleObject(patient.Handle(), 100), DWORD{WAIT_TIMEOUT});
  held.Release();
  patient.Join();
}

TEST(Locks, ExcludeOtherThreads) {
  const OString name = UniqueName(TEXT("Tagwright Test ")).c_str();
  OMutex mutex(name, INFINITE), same(name, INFINITE), unnamed("", INFINITE);
  OCriticalSection section;
  ExpectExclusion(mutex, same);
  ExpectExclusion(unnamed, unnamed);
  ExpectExclusion(section, section);
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
    const OAutoLock lock(mutex);
    std::thread(tryElsewhere).join();
    EXPECT_EQ(result, DWORD{WAIT_TIMEOUT}) << "only its owner gives it back";
  }
  std::thread(tryElsewhere).join();
  EXPECT_EQ(result, DWORD{WAIT_OBJECT_0});
}

TEST(Locks, GiveTheirNamesBack) {
  const OString name = UniqueName(TEXT("Tagwright Test ")).c_str();
  {
    OMutex gone(name, INFINITE);
    const OAutoLock lock(gone);
  }
  const ScopedHandle raw(CreateMutexW(nullptr, FALSE, name.wstring()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "whoever had it before has gone";
}

}  // namespace
