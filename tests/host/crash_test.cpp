/// A crash on each thread of the program: a report, a dump file, and the end of that thread alone.
#include "common/dump_folder.h"
#include "common/test_thread.h"
#include "common/victim.h"
#include "host/idle.h"
#include "host/process_state.h"
#include "host/server_process.h"
#include "host/watch_parent.h"
#include "pipe/server_fixture.h"
#include "platform/find_process.h"

namespace {

void* const kNowhere = reinterpret_cast<void*>(16);

/// The main thread finds its arguments where there is no memory.
const VictimRole kProgram("program", [](VictimSide&, const std::string&) -> int {
  RunServerProcess(2, static_cast<WCHAR**>(kNowhere));
});

class ThreadCrashTest : public testing::Test {
 protected:
  ThreadCrashTest() {
    Z7SvEventLog.reset(new OEventLog("Brennick Tagwright.Native", OEventLog::kApplicationLog));
  }
  ~ThreadCrashTest() override { Z7SvEventLog.reset(); }

  static void CrashAt(const std::string& line) {
    Z7SvEventLog.reset(new HookedLog("Brennick Tagwright.Native", line,
                                     [] { *static_cast<volatile int*>(kNowhere) = 1; }));
  }

  void ExpectReport(const std::string& function) const {
    const std::string path = DumpFolder::Path("bkcrash_0000.dmp");
    EXPECT_EQ(_log.Mentions("Caught in ["), 1);
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
  for (const std::string name :
       {"PipeServer::ProcessMessagesThread", "PipeServer::ConnectThreadProc"}) {
    const DumpFolder dumps;
    const ProductLog log;
    CrashAt(name + ": Enter");
    ScriptedServer server(UniquePipeName(), {});
    ASSERT_TRUE(server.CreateServerPipe());
    ASSERT_TRUE(server.StartProcessMessageThread(INFINITE));
    EXPECT_EQ(server.WaitForMultipeObjectsOrPipeTermination(0, nullptr, 60000, 60000),
              PipeServer::kMessageThreadEnded);
    ExpectReport(name);
  }
}

DWORD CountThreads() {
  const DWORD self = GetCurrentProcessId();
  const auto entry = FindProcess([self](const auto& one) { return one.th32ProcessID == self; });
  return entry ? entry->cntThreads : 0;
}

/// A crash stands for a lack of memory as well: both leave the line as an exception.
TEST_F(ThreadCrashTest, OfAMessageThreadEndsTheConnectionThreadWithIt) {
  CrashAt("Connection attempt timed out");
  ScriptedServer first(UniquePipeName(), {}), second(UniquePipeName(), {});
  const auto fail = [](ScriptedServer& server) {
    ASSERT_TRUE(server.CreateServerPipe());
    ASSERT_TRUE(server.StartProcessMessageThread(1));
    EXPECT_EQ(server.WaitForMultipeObjectsOrPipeTermination(0, nullptr, 60000, 60000),
              PipeServer::kMessageThreadEnded);
  };
  fail(first);  // It makes the threads that last.
  const DWORD threads = CountThreads();
  fail(second);
  // A thread whose handle is signalled may be counted for a moment more.
  const ULONGLONG end = GetTickCount64() + 60000;
  while (CountThreads() > threads && GetTickCount64() < end) Sleep(0);
  EXPECT_LE(CountThreads(), threads) << "somebody still waits for a client";
}

}  // namespace
