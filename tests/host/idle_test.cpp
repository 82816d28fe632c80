/// Idleness without waiting for it: the watcher's core with a clock of the test's, and the main
/// thread's decision.
#include "host/idle.h"

#include <gmock/gmock.h>

#include <thread>

#include "host/process_state.h"
#include "pipe/server_fixture.h"
#include "support/thread_start.h"

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

TEST(IdleWatchTest, SignalsFromTheFifteenthMinuteAfterTheLastActivityOn) {
  EXPECT_THAT(SignalsOver(Minutes(14)), IsEmpty());
  EXPECT_THAT(SignalsOver(Minutes(17)), ElementsAre(15, 16, 17));
  EXPECT_THAT(SignalsOver(Minutes(30, {15})), ElementsAre(30));
  EXPECT_THAT(SignalsOver(Minutes(60, {14, 28, 42, 56})), IsEmpty());
  EXPECT_THAT(SignalsOver(Minutes(31, {16})), ElementsAre(15, 31));
  EXPECT_THAT(SignalsOver(Minutes(15), WAIT_FAILED), ElementsAre(15)) << "it ends the watch";
}

class IdleDecisionTest : public ServerTest {
 protected:
  IdleDecisionTest() { pServer = &_idleServer; }
  ~IdleDecisionTest() override { pServer = nullptr; }

  void Decide() {
    SetEvent(_idleEvent.Get());
    DecideIdleShutdown(_mutex, _idleEvent.Get());
  }
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

  OMutex _mutex{_pipeName.c_str(), INFINITE};
  const ScopedHandle _idleEvent{CreateManualResetEvent()};
  ScriptedServer _idleServer{_pipeName, Acknowledge};
};

TEST_F(IdleDecisionTest, OnlyWithoutActivityTheServerStopsAndTheMutexIsKept) {
  OnPipeActivityCallback();
  Decide();
  EXPECT_FALSE(_idleServer.IsShutdown());
  EXPECT_FALSE(IsIdleEventSet());
  EXPECT_TRUE(IsMutexFree());
  EXPECT_EQ(PipeActivity, 1U) << "the watcher has to see it, too";
  EXPECT_TRUE(_log.Has(
      "wmain: All pipes were idle for 15 minutes. But it isn't now. NOT shutting down and mutex "
      "released"));
  PipeActivity = 0;
  Decide();
  EXPECT_TRUE(_idleServer.IsShutdown());
  EXPECT_TRUE(IsIdleEventSet());
  EXPECT_FALSE(IsMutexFree());
}

TEST_F(IdleDecisionTest, LooksOnlyWhenItHasTheMutex) {
  PipeActivity = 0;
  const ScopedHandle decides(CreateManualResetEvent());
  LogHooked("Taking Shutdown mutex", [&] { SetEvent(decides.Get()); });
  OMutex other(_pipeName.c_str(), INFINITE);
  other.Acquire();
  std::jthread decision([this] { Decide(); });
  EXPECT_EQ(WaitForSingleObject(decides.Get(), kLongMs), WAIT_OBJECT_0);
  OnPipeActivityCallback();
  other.Release();
  decision.join();
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
