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

constexpr int kCountRounds = 200;

/// A file under the folder that parent and children share.
Text CountFile(const Text& name) {
  WCHAR root[MAX_PATH] = {};
  GetEnvironmentVariableW(TEXT("TAGWRIGHT_ROOT"), root, MAX_PATH);
  return Text(root) + TEXT("/") + name;
}

/// Counts up in a file, a race for everybody who does it without the mutex.
void CountUp(const Text& path, HANDLE mutex) {
  for (int round = 0; round < kCountRounds; ++round) {
    WaitForSingleObject(mutex, INFINITE);
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    int count = 0;
    DWORD transferred = 0;
    ReadFile(file, &count, sizeof count, &transferred, nullptr);
    ++count;
    SetFilePointerEx(file, {}, nullptr, FILE_BEGIN);
    WriteFile(file, &count, sizeof count, &transferred, nullptr);
    CloseHandle(file);
    ReleaseMutex(mutex);
  }
}

const VictimRole kCounter("mutex-counter", [](VictimSide&, const std::string& name) {
  const Text text(name.begin(), name.end());
  const TestMutex mutex(text);
  CountUp(CountFile(text), mutex.Handle());
  return 0;
});

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
    EXPECT_EQ(GetLastError(), 288U);
  }
}

TEST(MutexTest, NameIsOneMutexAsLongAsSomebodyHasIt) {
  const Text name = NewName();
  {
    const TestMutex first(TEXT("Local\\") + name);
    const TestMutex second(name, true);
    EXPECT_EQ(second.CreationError(), 183U);
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
      {
        TestThread owner([&] {
          mutex.Wait();
          mutex.Wait();
          SetEvent(owned);
          return end();
        });
        ASSERT_EQ(WaitForSingleObject(owned, kBoundMs), WAIT_OBJECT_0);
        if (&end == &ends[2]) TerminateThread(owner.Handle(), 1);
        EXPECT_EQ(mutex.Wait(kBoundMs), WAIT_ABANDONED);
      }
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
  const std::function<DWORD()> waits[] = {
      [&] { return mutex.Wait(kBoundMs); },
      [&] {
        const HANDLE handles[] = {never, mutex.Handle()};
        return WaitForMultipleObjects(2, handles, FALSE, kBoundMs) - 1;
      },
  };
  for (const auto& wait : waits) {
    Victim victim("mutex-holder", Narrow(name));
    victim.WaitUntilReady();
    EXPECT_EQ(mutex.Wait(0), static_cast<DWORD>(WAIT_TIMEOUT));
    TestThread waiter([&] {
      const DWORD result = wait();
      mutex.Release();
      return result;
    });
    victim.Kill();
    waiter.Join();
    EXPECT_EQ(waiter.ExitCode(), static_cast<DWORD>(WAIT_ABANDONED));
    EXPECT_EQ(mutex.WaitElsewhere(), WAIT_OBJECT_0);
  }
  CloseHandle(never);
}

TEST(MutexTest, ProcessThatGivesItBackDoesNotAbandonIt) {
  const Text name = NewName();
  const TestMutex mutex(name);
  const HANDLE event = CreateEventW(nullptr, FALSE, TRUE, nullptr);
  Victim victim("mutex-holder", Narrow(name));
  victim.WaitUntilReady();
  // Nothing is taken while one part is missing: the event stays, and so does the other's mutex.
  const HANDLE both[] = {event, mutex.Handle()};
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  TestThread waiter([&] { return WaitForMultipleObjects(2, both, TRUE, kBoundMs); });
  victim.Release();
  EXPECT_EQ(victim.ExitCode(), 0U);
  waiter.Join();
  EXPECT_EQ(waiter.ExitCode(), WAIT_OBJECT_0);
  CloseHandle(event);
}

TEST(MutexTest, ExcludesThreadsAndProcesses) {
  const Text name = NewName();
  const Text path = CountFile(name);
  const TestMutex mutex(name);
  {
    Victim first("mutex-counter", Narrow(name));
    Victim second("mutex-counter", Narrow(name));
    TestThread third([&] { return CountUp(path, mutex.Handle()), 0U; });
    CountUp(path, mutex.Handle());
    third.Join();
    EXPECT_EQ(first.ExitCode(), 0U);
    EXPECT_EQ(second.ExitCode(), 0U);
  }
  int count = 0;
  DWORD transferred = 0;
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_TRUE(ReadFile(file, &count, sizeof count, &transferred, nullptr));
  EXPECT_EQ(count, 4 * kCountRounds);
  CloseHandle(file);
}

}  // namespace
