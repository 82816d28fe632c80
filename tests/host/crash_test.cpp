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

  /// One for a crash in `function`, with a dump.
  void ExpectReport(const std::string& function) const {
    const std::string path = DumpFolder::Path("bkcrash_0000.dmp");
    EXPECT_EQ(_log.Mentions("Caught in ["), 1);
    EXPECT_TRUE(_log.Has("Caught in [" + function + "]"));
    EXPECT_TRUE(_log.Has("MiniDump File: " + path));
    EXPECT_FALSE(DumpFolder::Streams(DumpFolder::Content(path)).empty());
  }

  /// A server without a client whose message thread ends by a crash.
  static void ServeToTheCrash(DWORD connectTimeoutMs) {
    ScriptedServer server(UniquePipeName(), {});
    ASSERT_TRUE(server.CreateServerPipe());
    ASSERT_TRUE(server.StartProcessMessageThread(connectTimeoutMs));
    EXPECT_EQ(server.WaitForMultipeObjectsOrPipeTermination(0, nullptr, 60000, 60000),
              PipeServer::kMessageThreadEnded);
  }

  DumpFolder _dumps;
  ProductLog _log;
};

TEST_F(ThreadCrashTest, OfTheMainThread) {
  EXPECT_EQ(Victim("program").ExitCode(), 0U);
  ExpectReport("wmain");
}

TEST_F(ThreadCrashTest, OfAWatcher) {
  for (const auto& [procedure, name] :
       {std::pair{&WatchParentProcessThreadProc, "WatchParentProcessThreadProc"},
        {&WatchIdleThreadProc, "WatchIdleThreadProc"}}) {
    const DumpFolder dumps;
    const ProductLog log;
    TestThread thread([run = procedure] { return run(kNowhere); });
    thread.Join();
    EXPECT_EQ(thread.ExitCode(), 0U);
    ExpectReport(name);
  }
}

TEST_F(ThreadCrashTest, OfAConnectionThread) {
  CrashAt("PipeServer::ConnectThreadProc: Enter");
  ServeToTheCrash(INFINITE);
  ExpectReport("PipeServer::ConnectThreadProc");
}

DWORD CountThreads() {
  const DWORD self = GetCurrentProcessId();
  const auto entry = FindProcess([self](const auto& one) { return one.th32ProcessID == self; });
  return entry ? entry->cntThreads : 0;
}

/// A crash stands for a lack of memory as well: both leave the line as an exception.
TEST_F(ThreadCrashTest, OfAMessageThreadEndsTheConnectionThreadWithIt) {
  CrashAt("Connection attempt timed out");
  ServeToTheCrash(1);  // It makes the threads that last.
  const DWORD threads = CountThreads();
  ServeToTheCrash(1);
  // A thread whose handle is signalled may be counted for a moment more.
  const ULONGLONG end = GetTickCount64() + 60000;
  while (CountThreads() > threads && GetTickCount64() < end) Sleep(0);
  EXPECT_LE(CountThreads(), threads) << "somebody still waits for a client";
}

}  // namespace
