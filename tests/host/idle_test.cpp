/// Idleness without waiting for it: the watcher's core with a clock of the test's, and the main
/// thread's decision.
#include "host/idle.h"

#include <gmock/gmock.h>

#include <thread>

#include "host/process_state.h"
#include "pipe/server_fixture.h"
#include "support/scoped_handle.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Runs the watcher through `activity`, one entry a minute, and then ends its wait with `lastWait`.
/// Returns the minutes, counted from 1, at whose end it signalled.
std::vector<int> SignalsOver(const std::vector<bool>& activity, DWORD lastWait = WAIT_OBJECT_0) {
  std::vector<int> signals;
  std::size_t minute = 0;
  WatchForIdleness({
      [&](DWORD timeoutMs) {
        EXPECT_EQ(timeoutMs, 60000U);
        return minute < activity.size() ? DWORD{WAIT_TIMEOUT} : lastWait;
      },
      [&] { return activity[minute++]; },
      [&] { signals.push_back(static_cast<int>(minute)); },
  });
  return signals;
}

/// `minutes` without activity, but for those that `active` names.
std::vector<bool> Minutes(int minutes, std::initializer_list<int> active = {}) {
  std::vector<bool> activity(minutes, false);
  for (int minute : active) activity[minute - 1] = true;
  return activity;
}

TEST(IdleWatchTest, SignalsFromTheFifteenthIdleMinuteOn) {
  EXPECT_THAT(SignalsOver(Minutes(14)), IsEmpty());
  EXPECT_THAT(SignalsOver(Minutes(17)), ElementsAre(15, 16, 17));
}

TEST(IdleWatchTest, ActivityStartsTheCountAnew) {
  EXPECT_THAT(SignalsOver(Minutes(29, {15})), IsEmpty());
  EXPECT_THAT(SignalsOver(Minutes(30, {15})), ElementsAre(30));
  EXPECT_THAT(SignalsOver(Minutes(60, {14, 28, 42, 56})), IsEmpty());
  EXPECT_THAT(SignalsOver(Minutes(31, {16})), ElementsAre(15, 31));
}

TEST(IdleWatchTest, AFailedWaitEndsIt) {
  EXPECT_THAT(SignalsOver(Minutes(15), WAIT_FAILED), ElementsAre(15));
}

class IdleDecisionTest : public ServerTest {
 protected:
  IdleDecisionTest()
      : _mutex(_pipeName.c_str(), INFINITE),
        _idleEvent(CreateEventW(nullptr, TRUE, TRUE, nullptr)) {
    pServer = &_idleServer;
  }
  ~IdleDecisionTest() override { pServer = nullptr; }

  void Decide() { DecideIdleShutdown(_mutex, _idleEvent.Get()); }
  bool IsIdleEventSet() const { return WaitForSingleObject(_idleEvent.Get(), 0) == WAIT_OBJECT_0; }

  /// Whether another thread could take the shutdown mutex at once.
  bool IsMutexFree() const {
    DWORD result = WAIT_FAILED;
    std::thread([&] {
      const ScopedHandle mutex(CreateMutexW(nullptr, FALSE, Widen(_pipeName).c_str()));
      result = WaitForSingleObject(mutex.Get(), 0);
      if (result == WAIT_OBJECT_0) ReleaseMutex(mutex.Get());
    }).join();
    return result == WAIT_OBJECT_0;
  }

  OMutex _mutex;
  ScopedHandle _idleEvent;
  ScriptedServer _idleServer{_pipeName, Acknowledge};
};

TEST_F(IdleDecisionTest, WithoutActivityTheServerStopsAndTheMutexIsKept) {
  PipeActivity = 0;
  Decide();
  EXPECT_TRUE(_idleServer.IsShutdown());
  EXPECT_TRUE(IsIdleEventSet());
  EXPECT_FALSE(IsMutexFree());
  EXPECT_TRUE(_log.Has("wmain: hIdleEvent was signaled. Taking Shutdown mutex"));
  EXPECT_TRUE(_log.Has("wmain: All pipes were idle for 15 minutes. Shutting down server"));
}

TEST_F(IdleDecisionTest, ActivityAfterTheSignalKeepsTheServer) {
  OnPipeActivityCallback();
  Decide();
  EXPECT_FALSE(_idleServer.IsShutdown());
  EXPECT_FALSE(IsIdleEventSet());
  EXPECT_TRUE(IsMutexFree());
  EXPECT_EQ(PipeActivity, 1U) << "the watcher has to see it, too";
  EXPECT_TRUE(_log.Has(
      "wmain: All pipes were idle for 15 minutes. But it isn't now. NOT shutting down and mutex "
      "released"));
}

TEST_F(IdleDecisionTest, LooksOnlyWhenItHasTheMutex) {
  PipeActivity = 0;
  const ScopedHandle held(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const ScopedHandle release(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::thread holder([&] {
    OMutex other(_pipeName.c_str(), INFINITE);
    other.Acquire();
    SetEvent(held.Get());
    WaitForSingleObject(release.Get(), INFINITE);
    // While the decision waits for the mutex, a pipe is used.
    OnPipeActivityCallback();
    other.Release();
  });
  WaitForSingleObject(held.Get(), INFINITE);
  SetEvent(release.Get());
  Decide();
  holder.join();
  EXPECT_FALSE(_idleServer.IsShutdown());
}

TEST(ConsoleHandlerTest, TakesEverythingButLogoff) {
  ScriptedServer server("console", {});
  pServer = &server;
  EXPECT_FALSE(ConsoleHandler(CTRL_LOGOFF_EVENT));
  EXPECT_FALSE(server.IsShutdown());
  EXPECT_TRUE(ConsoleHandler(CTRL_C_EVENT));
  EXPECT_TRUE(server.IsShutdown());
  pServer = nullptr;
  EXPECT_TRUE(ConsoleHandler(CTRL_C_EVENT)) << "after the server has gone";
}

}  // namespace
