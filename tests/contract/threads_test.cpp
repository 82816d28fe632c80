#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>

#include "common/test_thread.h"
#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

constexpr DWORD kTerminated = 260;
constexpr DWORD kBoundMs = TestThread::kBoundMs;

TEST(ThreadTest, ExitCodeSaysHowItEnded) {
  const HANDLE gate = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const std::function<unsigned()> endings[] = {
      [] { return 7U; },
      []() -> unsigned { _endthreadex(7); },
      []() -> unsigned {
        try {
          throw std::string("handled");
        } catch (const std::string&) {
        }
        _endthreadex(7);
      },
  };
  for (const auto& ending : endings) {
    ResetEvent(gate);
    TestThread thread([&] {
      WaitForSingleObject(gate, kBoundMs);
      return ending();
    });
    EXPECT_EQ(thread.ExitCode(), static_cast<DWORD>(STILL_ACTIVE));
    EXPECT_EQ(WaitForSingleObject(thread.Handle(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(gate);
    thread.Join();
    EXPECT_EQ(thread.ExitCode(), 7U);
  }
  DWORD exitCode = 0;
  EXPECT_FALSE(GetExitCodeThread(gate, &exitCode));
  EXPECT_EQ(GetLastError(), 6U);
  CloseHandle(gate);
}

TEST(ThreadTest, IdIsTheOneTheThreadSees) {
  TestThread thread([] { return static_cast<unsigned>(GetCurrentThreadId()); });
  thread.Join();
  EXPECT_EQ(thread.ExitCode(), thread.Id());
  EXPECT_NE(thread.Id(), GetCurrentThreadId());
}

/// The places where a thread can be when its time has come.
class TerminationTest : public testing::Test {
 protected:
  TerminationTest() {
    InitializeCriticalSection(&_section);
    EnterCriticalSection(&_section);
  }
  ~TerminationTest() override {
    LeaveCriticalSection(&_section);
    DeleteCriticalSection(&_section);
    for (const HANDLE handle : {_never, _busy, _inside, _pipe}) CloseHandle(handle);
  }

  /// Terminates a thread that is on its way into `body`, or in it already.
  void ExpectTerminates(const std::function<void()>& body) {
    struct Alarm {
      std::atomic<bool>& hasRung;
      ~Alarm() { hasRung = true; }
    };
    std::atomic<bool> hasUnwound{false};
    TestThread thread([&] {
      const Alarm alarm{hasUnwound};
      SetEvent(_inside);
      body();
      return 0U;
    });
    ASSERT_EQ(WaitForSingleObject(_inside, kBoundMs), WAIT_OBJECT_0);
    EXPECT_TRUE(TerminateThread(thread.Handle(), kTerminated)) << GetLastError();
    thread.Join();
    EXPECT_EQ(thread.ExitCode(), kTerminated);
    EXPECT_FALSE(hasUnwound);
  }

  void SpinForever() {
    for (std::atomic<unsigned> turns{0};; ++turns) {
    }
  }

  CRITICAL_SECTION _section;
  const HANDLE _never = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  const HANDLE _busy = CreateMutexW(nullptr, TRUE, UniqueName(TEXT("TagwrightBusy")).c_str());
  const HANDLE _inside = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  const HANDLE _pipe = CreateNamedPipeW(UniqueName(TEXT("\\\\.\\pipe\\endless")).c_str(),
                                        PIPE_ACCESS_DUPLEX, 0, 1, 64, 64, 0, nullptr);
};

TEST_F(TerminationTest, EndsAThreadWhereverItIs) {
  const HANDLE several[] = {_never, _busy};
  const std::function<void()> places[] = {
      [&] { WaitForSingleObject(_never, INFINITE); },
      [&] { WaitForSingleObject(_busy, INFINITE); },
      [&] { WaitForMultipleObjects(2, several, FALSE, INFINITE); },
      [&] { WaitForMultipleObjects(2, several, TRUE, INFINITE); },
      [&] { Sleep(INFINITE); },
      [&] { ConnectNamedPipe(_pipe, nullptr); },
      [&] { EnterCriticalSection(&_section); },
      [&] { SpinForever(); },
  };
  constexpr int kRounds = 20;  // Some before the place is reached, some in it.
  for (int round = 0; round < kRounds; ++round) {
    for (const auto& place : places) ExpectTerminates(place);
  }
}

TEST_F(TerminationTest, DeadWaiterTakesNothingMore) {
  ExpectTerminates([&] { WaitForSingleObject(_never, INFINITE); });
  SetEvent(_never);
  EXPECT_EQ(WaitForSingleObject(_never, 0), WAIT_OBJECT_0);
}

TEST_F(TerminationTest, LocksStayHeld) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  TestThread owner([&] {
    EnterCriticalSection(&section);
    SetEvent(_inside);
    SpinForever();
    return 0U;
  });
  ASSERT_EQ(WaitForSingleObject(_inside, kBoundMs), WAIT_OBJECT_0);
  EXPECT_TRUE(TerminateThread(owner.Handle(), kTerminated));
  TestThread next([&] {
    EnterCriticalSection(&section);
    return 0U;
  });
  EXPECT_EQ(WaitForSingleObject(next.Handle(), 100), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(TerminateThread(next.Handle(), kTerminated));
  DeleteCriticalSection(&section);
}

}  // namespace
