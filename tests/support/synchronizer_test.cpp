/// Locks between threads; the kernel mutex behind them has its own tests.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>

#include "common/unique_name.h"
#include "support/osynchronizer.h"
#include "support/scoped_handle.h"

namespace {

/// A place where one thread may be at a time. Whoever is there lets the others run.
class Room {
 public:
  void Visit() {
    if (_isTaken.exchange(true)) ++_collisions;
    std::this_thread::yield();
    _isTaken = false;
  }
  int Collisions() const { return _collisions; }

 private:
  std::atomic<bool> _isTaken{false};
  std::atomic<int> _collisions{0};
};

TEST(Locks, ExcludeOtherThreads) {
  const OString name = UniqueName(TEXT("Tagwright Test ")).c_str();
  OCriticalSection section;
  Room byMutex, bySection;
  std::barrier bothAreThere(2);
  const auto work = [&] {
    OMutex mutex(name, INFINITE);
    bothAreThere.arrive_and_wait();
    for (int round = 0; round < 500; ++round) {
      const OAutoLock lock(mutex);
      byMutex.Visit();
    }
    bothAreThere.arrive_and_wait();
    for (int round = 0; round < 5000; ++round) {
      const OAutoLock outer(section), inner(section);
      bySection.Visit();
    }
  };
  { std::jthread first(work), second(work); }
  EXPECT_EQ(byMutex.Collisions(), 0);
  EXPECT_EQ(bySection.Collisions(), 0);
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
