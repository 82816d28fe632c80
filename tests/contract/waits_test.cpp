#include <gtest/gtest.h>

#include <vector>

#include "common/test_thread.h"
#include "platform/windows_api.h"

namespace {

constexpr DWORD kBoundMs = TestThread::kBoundMs;
const bool kManual = true;
const bool kAuto = false;

/// Events by index, closed with the test.
class WaitTest : public testing::Test {
 protected:
  ~WaitTest() override {
    for (const HANDLE handle : _handles) CloseHandle(handle);
  }

  HANDLE NewEvent(bool isManual, bool isSet = false) {
    _handles.push_back(CreateEventW(nullptr, isManual, isSet, nullptr));
    return _handles.back();
  }

  static DWORD WaitAny(const std::vector<HANDLE>& handles, DWORD timeoutMs = 0) {
    return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE,
                                  timeoutMs);
  }
  static DWORD WaitAll(const std::vector<HANDLE>& handles, DWORD timeoutMs = 0) {
    return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), TRUE,
                                  timeoutMs);
  }
  static bool IsSet(HANDLE event) { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

 private:
  std::vector<HANDLE> _handles;
};

TEST_F(WaitTest, LowestSignalledIndexWinsAndOnlyItIsConsumed) {
  const std::vector<HANDLE> events = {NewEvent(kAuto), NewEvent(kAuto, true), NewEvent(kAuto, true),
                                      NewEvent(kManual, true)};
  EXPECT_EQ(WaitAny(events), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(WaitAny(events), WAIT_OBJECT_0 + 2);
  EXPECT_EQ(WaitAny(events), WAIT_OBJECT_0 + 3);
  EXPECT_EQ(WaitAny(events), WAIT_OBJECT_0 + 3);
  ResetEvent(events[3]);
  EXPECT_EQ(WaitAny(events), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST_F(WaitTest, WaitForAllTakesEverythingOrNothing) {
  const std::vector<HANDLE> events = {NewEvent(kAuto, true), NewEvent(kAuto)};
  EXPECT_EQ(WaitAll(events), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(IsSet(events[0]));

  // A blocked wait for all leaves what is there to others until it can have everything.
  TestThread waiter([&] { return WaitAll(events, kBoundMs); });
  for (int round = 0; round < 100; ++round) {
    SetEvent(events[round % 2]);
    EXPECT_TRUE(IsSet(events[round % 2]));
  }
  SetEvent(events[1]);
  SetEvent(events[0]);
  waiter.Join();
  EXPECT_EQ(waiter.ExitCode(), WAIT_OBJECT_0);
  EXPECT_FALSE(IsSet(events[0]));
  EXPECT_FALSE(IsSet(events[1]));
}

TEST_F(WaitTest, BadHandlesAreToldFromGoodOnes) {
  const HANDLE good = NewEvent(kManual, true);
  const HANDLE closed = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  ASSERT_TRUE(CloseHandle(closed));
  const HANDLE foreign = reinterpret_cast<HANDLE>(std::uintptr_t{0x7654});
  for (const HANDLE bad : {static_cast<HANDLE>(nullptr), closed, foreign}) {
    EXPECT_EQ(WaitForSingleObject(bad, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    SetLastError(0);
    EXPECT_EQ(WaitAny({good, bad}), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(SetEvent(bad));
  }
}

TEST_F(WaitTest, GivesUpWhenTimeIsOver) {
  const HANDLE never = NewEvent(kAuto);
  const ULONGLONG before = GetTickCount64();
  LARGE_INTEGER start{}, end{}, frequency{};
  EXPECT_TRUE(QueryPerformanceFrequency(&frequency) && QueryPerformanceCounter(&start));
  EXPECT_EQ(WaitForSingleObject(never, 60), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_GE(GetTickCount64() - before, 45U);  // A clock tick of 15 ms less.
  EXPECT_TRUE(QueryPerformanceCounter(&end));
  EXPECT_GE((end.QuadPart - start.QuadPart) * 1000 / frequency.QuadPart, 45);
}

}  // namespace
