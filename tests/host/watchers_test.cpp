/// The watchers' threads and what the process main says of them.
#include "host/watchers.h"

#include "pipe/server_fixture.h"
#include "support/thread_start.h"

namespace {

using WatchersTest = ServerTest;

TEST_F(WatchersTest, ThatCouldNotBeStartedAreNotWaitedFor) {
  Watchers watchers;
  watchers.Stop();
  watchers.CloseHandles();
  EXPECT_EQ(_log.ThreadTexts(),
            "Errors: wmain: SetEvent hAbortWatchParentEvent failed\n"
            "Errors: wmain: SetEvent hAbortWatchIdleEvent failed\n"
            "DetailInfoD: wmain: Waiting for watch parent and watch idle threads to exit\n"
            "DetailInfoD: wmain: Cleaning up handles\n");
}

TEST_F(WatchersTest, ThatDoNotEndAreLeftBehind) {
  const ScopedHandle release(CreateManualResetEvent());
  LogHooked("Exiting Watch Idle thread due to abort event",
            [&] { WaitForSingleObject(release.Get(), kLongMs); });
  Watchers watchers;
  watchers.Start();
  watchers.Stop();
  EXPECT_EQ(
      _log.Count("wmain: Either the Watch Parent or Watch Idle thread didn't end as expected"), 1);
  EXPECT_EQ(_log.Count("wmain: Watch Parent and Watch Idle successfully aborted"), 0);
  SetEvent(release.Get());
  watchers.Stop();
  EXPECT_EQ(_log.Count("wmain: Watch Parent and Watch Idle successfully aborted"), 1);
  watchers.CloseHandles();
  EXPECT_EQ(watchers.IdleEvent(), nullptr);
}

}  // namespace
