/// A crash on each thread of the program: a report, a dump file, and the end of that thread alone.
#include "common/dump_folder.h"
#include "common/test_thread.h"
#include "common/victim.h"
#include "host/process_state.h"
#include "host/server_process.h"
#include "host/watch_idle.h"
#include "host/watch_parent.h"
#include "pipe/server_fixture.h"

namespace {

void* const kNowhere = reinterpret_cast<void*>(16);

/// The main thread finds its arguments where there is no memory.
const VictimRole kProgram("program", [](VictimSide&, const std::string&) -> int {
  RunServerProcess(2, static_cast<WCHAR**>(kNowhere));
});

/// Crashes the n-th time that one of its threads looks for a shutdown.
class CrashingServer : public ScriptedServer {
 public:
  CrashingServer(const std::string& pipeName, int crashingLook)
      : ScriptedServer(pipeName, {}), _looksLeft(crashingLook) {}

  bool IsShutdown() override {
    if (--_looksLeft == 0) *static_cast<volatile int*>(kNowhere) = 1;
    return PipeServer::IsShutdown();
  }

 private:
  std::atomic<int> _looksLeft;
};

class ThreadCrashTest : public testing::Test {
 protected:
  ThreadCrashTest() {
    Z7SvEventLog.reset(new OEventLog("Brennick Tagwright.Native", OEventLog::kApplicationLog));
  }
  ~ThreadCrashTest() override { Z7SvEventLog.reset(); }

  void ExpectReport(const std::string& function) const {
    const std::string path = DumpFolder::Path("bkcrash_0000.dmp");
    EXPECT_EQ(_log.Count("Caught in ["), 1);
    EXPECT_TRUE(_log.Has("Caught in [" + function + "]"));
    EXPECT_TRUE(_log.Has("MiniDump File: " + path));
    EXPECT_FALSE(DumpFolder::Streams(DumpFolder::Content(path)).empty());
  }

  DumpFolder _dumps;
  ProductLog _log;
};

TEST_F(ThreadCrashTest, OfTheMainThread) {
  EXPECT_EQ(Victim("program").ExitCode(), 0U);
  ExpectReport("wmain");
}

TEST_F(ThreadCrashTest, OfAWatcher) {
  const struct {
    unsigned(__stdcall* procedure)(void*);
    const char* name;
  } kWatchers[] = {{WatchParentProcessThreadProc, "WatchParentProcessThreadProc"},
                   {WatchIdleThreadProc, "WatchIdleThreadProc"}};
  for (const auto& watcher : kWatchers) {
    const DumpFolder dumps;
    const ProductLog log;
    TestThread thread([&] { return watcher.procedure(kNowhere); });
    thread.Join();
    EXPECT_EQ(thread.ExitCode(), 0U);
    ExpectReport(watcher.name);
  }
}

TEST_F(ThreadCrashTest, OfAPipeThread) {
  const struct {
    int look;  // Of the starter, the message thread and the connection thread, in this order.
    const char* name;
  } kThreads[] = {{2, "PipeServer::ProcessMessagesThread"}, {3, "PipeServer::ConnectThreadProc"}};
  for (const auto& crashing : kThreads) {
    const DumpFolder dumps;
    const ProductLog log;
    CrashingServer server(UniquePipeName(), crashing.look);
    ASSERT_TRUE(server.CreateServerPipe());
    ASSERT_TRUE(server.StartProcessMessageThread(INFINITE));
    EXPECT_EQ(server.WaitForMultipeObjectsOrPipeTermination(0, nullptr, 60000, 60000),
              PipeServer::kMessageThreadEnded);
    ExpectReport(crashing.name);
  }
}

}  // namespace
