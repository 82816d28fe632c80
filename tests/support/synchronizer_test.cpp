/// Locks between threads; the kernel mutex behind them has its own tests.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include "common/unique_name.h"
#include "support/osynchronizer.h"
#include "support/security_dacl.h"

namespace {

/// Bounds that only a fault reaches.
constexpr std::chrono::seconds kFaultBound{30};
constexpr DWORD kFaultBoundMs = 30000;

OString UniqueMutexName() { return OString(UniqueName(TEXT("Tagwright Test ")).c_str()); }

/// What opening and waiting for the mutex from another thread gives, without waiting.
DWORD TryFromOtherThread(const OString& name) {
  return std::async(std::launch::async,
                    [&] {
                      const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.wstring());
                      const DWORD result = WaitForSingleObject(mutex, 0);
                      if (result == WAIT_OBJECT_0) ReleaseMutex(mutex);
                      CloseHandle(mutex);
                      return result;
                    })
      .get();
}

TEST(Mutex, TwoObjectsOfOneNameExcludeEachOther) {
  const OString name = UniqueMutexName();
  std::promise<void> inside;
  int guarded = 0;
  auto mutex = std::make_unique<OMutex>(name, INFINITE);
  mutex->Acquire();
  std::thread other([&] {
    OMutex second(name, INFINITE);
    inside.set_value();
    const OAutoLock lock(second);
    guarded *= 2;
  });
  inside.get_future().wait();
  guarded = 21;
  mutex->Release();
  other.join();
  EXPECT_EQ(guarded, 42);
}

TEST(Mutex, GoesOnWhenItsTimeRunsOut) {
  const OString name = UniqueMutexName();
  OMutex holder(name, INFINITE);
  holder.Acquire();
  std::async(std::launch::async, [&] {
    OMutex impatient(name, 10);
    impatient.Acquire();
    impatient.Release();
  }).get();
  EXPECT_EQ(TryFromOtherThread(name), DWORD{WAIT_TIMEOUT}) << "only its owner gives it back";
}

TEST(Mutex, WithoutANameExcludesNobody) {
  OMutex first("", INFINITE), second("", kFaultBoundMs);
  first.Acquire();
  auto waited = std::async(std::launch::async, [&] { second.Acquire(); });
  EXPECT_EQ(waited.wait_for(kFaultBound), std::future_status::ready);
}

TEST(AutoLock, HoldsTheLockForItsScopeOnly) {
  const OString name = UniqueMutexName();
  OMutex mutex(name, INFINITE);
  {
    const OAutoLock lock(mutex);
    EXPECT_EQ(TryFromOtherThread(name), DWORD{WAIT_TIMEOUT});
    const OAutoLock idle(mutex, OAutoLock::kDoNotAcquire);
  }
  EXPECT_EQ(TryFromOtherThread(name), DWORD{WAIT_OBJECT_0});
}

TEST(CriticalSection, ExcludesOtherThreadsAndAdmitsItsOwner) {
  OCriticalSection section;
  int count = 0;
  const auto work = [&] {
    for (int round = 0; round < 5000; ++round) {
      const OAutoLock outer(section);
      const OAutoLock inner(section);
      ++count;
    }
  };
  std::thread first(work), second(work);
  first.join();
  second.join();
  EXPECT_EQ(count, 10000);
}

TEST(SecurityAttributes, ComeFromTheCollectedEntries) {
  SecurityDACL good, bad;
  good.AddACE(SecurityDACL::kEveryoneFullAccess);
  bad.AddACE("(A;;GA");
  SECURITY_ATTRIBUTES* attributes = good;
  EXPECT_EQ(attributes->nLength, sizeof(SECURITY_ATTRIBUTES));
  EXPECT_NE(attributes->lpSecurityDescriptor, nullptr);
  EXPECT_FALSE(attributes->bInheritHandle);
  attributes = bad;
  EXPECT_EQ(attributes->lpSecurityDescriptor, nullptr);
}

}  // namespace
