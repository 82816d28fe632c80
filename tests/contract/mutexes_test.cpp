#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "common/test_thread.h"
#include "common/unique_name.h"
#include "common/victim.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

constexpr DWORD kBoundMs = TestThread::kBoundMs;

class TestMutex {
 public:
  explicit TestMutex(const Text& name = {}, bool isOwned = false)
      : _handle(CreateMutexW(nullptr, isOwned, name.empty() ? nullptr : name.c_str())),
        _creationError(GetLastError()) {}
  ~TestMutex() { CloseHandle(_handle); }
  TestMutex(const TestMutex&) = delete;
  TestMutex& operator=(const TestMutex&) = delete;

  HANDLE Handle() const { return _handle; }
  DWORD CreationError() const { return _creationError; }
  DWORD Wait(DWORD timeoutMs = 0) const { return WaitForSingleObject(_handle, timeoutMs); }
  bool Release() const { return ReleaseMutex(_handle) != FALSE; }
  /// The result of a wait of another thread, which gives back what it gets.
  DWORD WaitElsewhere(DWORD timeoutMs = 0) const {
    TestThread other([&] {
      const DWORD result = Wait(timeoutMs);
      Release();
      return result;
    });
    other.Join();
    return other.ExitCode();
  }

 private:
  HANDLE _handle;
  DWORD _creationError;
};

Text NewName() { return UniqueName(TEXT("TagwrightMutex")); }
std::string Narrow(const Text& text) { return std::string(text.begin(), text.end()); }

/// Opens the mutex of that name, owns it and says so.
int HoldMutex(VictimSide& side, const std::string& name) {
  const TestMutex mutex(Text(name.begin(), name.end()));
  if (mutex.Wait(kBoundMs) != WAIT_OBJECT_0) return 1;
  side.Ready();
  side.WaitUntilReleased();
  return mutex.Release() ? 0 : 2;
}
const VictimRole kHolder("mutex-holder", HoldMutex);

TEST(MutexTest, RecursiveForItsOwnerOnly) {
  for (const Text& name : {Text(), NewName()}) {
    const TestMutex mutex(name, true);
    EXPECT_EQ(mutex.CreationError(), 0U);
    EXPECT_EQ(mutex.Wait(), WAIT_OBJECT_0);
    EXPECT_TRUE(mutex.Release());
    EXPECT_EQ(mutex.WaitElsewhere(), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(mutex.Release());
    EXPECT_EQ(mutex.WaitElsewhere(), WAIT_OBJECT_0);
    EXPECT_FALSE(mutex.Release());
    EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
  }
}

TEST(MutexTest, NameIsOneMutexAsLongAsSomebodyHasIt) {
  const Text name = NewName();
  {
    const TestMutex first(TEXT("Local\\") + name);
    const TestMutex second(name, true);
    EXPECT_EQ(second.CreationError(), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(first.WaitElsewhere(), WAIT_OBJECT_0);  // "Initially owned" was ignored.
    EXPECT_EQ(second.Wait(), WAIT_OBJECT_0);
    EXPECT_TRUE(first.Release());
    EXPECT_EQ(TestMutex(name + TEXT("x")).CreationError(), 0U);
    EXPECT_EQ(TestMutex(TEXT("TAGWRIGHT") + name.substr(9)).CreationError(), 0U);
  }
  EXPECT_EQ(TestMutex(name).CreationError(), 0U);
}

TEST(MutexTest, ThreadThatEndsAbandonsIt) {
  const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE owned = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  const std::function<unsigned()> ends[] = {
      [] { return 0U; }, []() -> unsigned { _endthreadex(0); },
      [&] { return static_cast<unsigned>(WaitForSingleObject(never, INFINITE)); },  // Terminated.
  };
  for (const Text& name : {Text(), NewName()}) {
    const TestMutex mutex(name);
    for (const auto& end : ends) {
      TestThread owner([&] {
        mutex.Wait();
        mutex.Wait();
        SetEvent(owned);
        return end();
      });
      ASSERT_EQ(WaitForSingleObject(owned, kBoundMs), WAIT_OBJECT_0);
      if (&end == &ends[2]) TerminateThread(owner.Handle(), 1);
      EXPECT_EQ(mutex.Wait(kBoundMs), WAIT_ABANDONED);
      EXPECT_EQ(mutex.WaitElsewhere(), static_cast<DWORD>(WAIT_TIMEOUT));
      EXPECT_TRUE(mutex.Release());
      EXPECT_EQ(mutex.WaitElsewhere(), WAIT_OBJECT_0);
    }
  }
  CloseHandle(never);
  CloseHandle(owned);
}

TEST(MutexTest, ProcessThatIsKilledAbandonsIt) {
  const Text name = NewName();
  const TestMutex mutex(name);
  const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE handles[] = {never, mutex.Handle()};
  for (const DWORD count : {1U, 2U}) {
    Victim victim("mutex-holder", Narrow(name));
    victim.WaitUntilReady();
    EXPECT_EQ(mutex.Wait(0), static_cast<DWORD>(WAIT_TIMEOUT));
    TestThread waiter([&] {
      const DWORD result = WaitForMultipleObjects(count, handles + 2 - count, FALSE, kBoundMs);
      mutex.Release();
      return result;
    });
    victim.Kill();
    waiter.Join();
    EXPECT_EQ(waiter.ExitCode(), WAIT_ABANDONED + count - 1);
    EXPECT_EQ(mutex.WaitElsewhere(), WAIT_OBJECT_0);
  }
  CloseHandle(never);
}

TEST(MutexTest, WaitForAllTakesOneOfAnotherProcessWithTheRestOnly) {
  for (const bool isEventFirst : {true, false}) {
    const Text name = NewName();
    const TestMutex mutex(name);
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    Victim victim("mutex-holder", Narrow(name));
    victim.WaitUntilReady();
    EXPECT_EQ(mutex.WaitElsewhere(10), static_cast<DWORD>(WAIT_TIMEOUT));
    TestThread waiter([&] {
      const HANDLE handles[] = {mutex.Handle(), event};
      const DWORD result = WaitForMultipleObjects(2, handles, TRUE, kBoundMs);
      mutex.Release();
      return result;
    });
    if (isEventFirst) SetEvent(event);
    EXPECT_EQ(WaitForSingleObject(waiter.Handle(), 20), static_cast<DWORD>(WAIT_TIMEOUT));
    victim.Release();
    if (!isEventFirst) {
      EXPECT_EQ(mutex.WaitElsewhere(kBoundMs), WAIT_OBJECT_0);
      EXPECT_EQ(WaitForSingleObject(waiter.Handle(), 20), static_cast<DWORD>(WAIT_TIMEOUT));
      SetEvent(event);
    }
    waiter.Join();
    EXPECT_EQ(waiter.ExitCode(), WAIT_OBJECT_0);
    EXPECT_EQ(mutex.WaitElsewhere(kBoundMs), WAIT_OBJECT_0);
    CloseHandle(event);
  }
}

}  // namespace
