#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>

#include "common/test_thread.h"
#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

constexpr DWORD kTerminated = 260;
constexpr DWORD kBoundMs = TestThread::kBoundMs;

TEST(ThreadTest, ExitCodeSaysHowItEnded) {
  const HANDLE gate = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  const std::function<unsigned()> endings[] = {[] { return 7U; },
                                               []() -> unsigned { _endthreadex(7); }};
  for (const auto& ending : endings) {
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
  CloseHandle(gate);
}

TEST(ThreadTest, ASectionExcludesOthersUntilItWasLeftAsOftenAsEntered) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 300000;
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  int count = 0;
  std::deque<TestThread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&]() -> unsigned {
      for (int round = 0; round < kRounds; ++round) {
        EnterCriticalSection(&section);
        EnterCriticalSection(&section);
        LeaveCriticalSection(&section);
        ++count;
        LeaveCriticalSection(&section);
      }
      return 0;
    });
  }
  for (TestThread& thread : threads) thread.Join();
  EXPECT_EQ(count, kThreads * kRounds);
  DeleteCriticalSection(&section);
}

TEST(ThreadTest, CountsWhoWantsItsApartment) {
  for (const HRESULT expected : {S_OK, S_FALSE}) {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), expected);
  }
  for (int i = 0; i < 3; ++i) CoUninitialize();  // Once too often, which harms nothing.
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  CoUninitialize();
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
    const auto alarm = std::make_shared<int>();
    TestThread thread([&] {
      const auto unwinds = alarm;
      SetEvent(_inside);
      body();
      return 0U;
    });
    ASSERT_EQ(WaitForSingleObject(_inside, kBoundMs), WAIT_OBJECT_0);
    EXPECT_TRUE(TerminateThread(thread.Handle(), kTerminated)) << GetLastError();
    thread.Join();
    EXPECT_EQ(thread.ExitCode(), kTerminated);
    EXPECT_EQ(alarm.use_count(), 2) << "the thread's destructors do not run";
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
  SetEvent(_never);
  EXPECT_EQ(WaitForSingleObject(_never, 0), WAIT_OBJECT_0) << "dead waiters take nothing more";
}

}  // namespace
