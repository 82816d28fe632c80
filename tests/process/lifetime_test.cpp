/// How tagwright ends when the driver that started it dies, whatever it was doing.
#include "process/driven.h"
#include "support/scoped_handle.h"

namespace {

/// A driver that dies as soon as it is connected.
const VictimRole kHastyDriver("hasty-driver", [](VictimSide&, const std::string& pipeName) {
  Program tagwright;
  tagwright.Start("tagwright", "/n " + pipeName);
  PipeClient client;
  while (client.TryConnect(pipeName) == ERROR_FILE_NOT_FOUND) continue;
  TerminateProcess(GetCurrentProcess(), 0);
  return 1;
});

class LifetimeTest : public ProcessTest {
 protected:
  static void AwaitCall(Driven& driven) {
    driven.Tagwright().Await([&] { return HasCalled(driven.Tagwright().Id(), "WriteEPC"); });
  }
  /// Of the component that hangs.
  static void AwaitLoad(Driven& driven) {
    const std::string file = "loading-" + std::to_string(driven.Tagwright().Id());
    driven.Tagwright().Await([&] { return std::filesystem::exists(SimulatorFolder() / file); });
  }

  /// Both have a job: the first one's is in the component, the second one's waits for it.
  void SendJobs(Driven& first, Driven& second, void (*awaitFirst)(Driven&) = AwaitCall) {
    RecordCalls();
    first.SendJob();
    awaitFirst(first);
    second.SendJob();
    second.Tagwright().Await([&] { return _log.Count("Aquiring _Zxp7EncodeMutex") == 2; });
  }

  /// Both drivers die while the jobs hang, the second one as soon as the first has ended.
  void ExpectToBeLeftBehind(Driven& single, Driven& control, void (*await)(Driven&)) {
    SendJobs(single, control, await);
    single.KillDriver();
    control.KillDriver();
    single.ExpectEnd(5000);
    // The mutex of the terminated job has gone to the next one, which hangs as well.
    await(control);
    control.ExpectEnd(15000);
  }
};

TEST_F(LifetimeTest, AfterTheDriversDeathItFinishesTheJobAndEnds) {
  ScriptFaults(R"({"WriteEPC": {"fault": "delay", "delay_ms": 1000}})");
  Driven silentSingle(kSingle), silentControl(kControl), single(kSingle), control(kControl);
  SendJobs(control, single);
  for (Driven* driven : {&silentSingle, &silentControl, &control, &single}) driven->KillDriver();
  for (Driven* driven : {&silentSingle, &silentControl, &control, &single}) driven->ExpectEnd(5000);
  EXPECT_EQ(_log.Count("WatchParentProcessThreadProc: The parent process has terminated"), 4);
  EXPECT_EQ(_log.Count("Releasing _Zxp7EncodeMutex"), 2);
  EXPECT_EQ(_log.Count("wmain: Watch Parent and Watch Idle successfully aborted"), 4);
  EXPECT_EQ(_log.Count("wmain: Tagwright Exit"), 4);
  EXPECT_FALSE(_log.Mentions("Calling TerminateThread") || _log.Mentions("Terminating thread"));
}

TEST_F(LifetimeTest, TheDriversDeathIsTold) {
  ScriptFaults(R"({"WriteEPC": {"fault": "delay", "delay_ms": 1000}})");
  RecordCalls();
  Driven control(kControl);
  control.SendJob();
  AwaitCall(control);
  control.KillDriver();
  control.ExpectEnd(5000);
  ExpectLog("parents-death");
}

TEST_F(LifetimeTest, AfterTheDriversDeathAComponentThatHangsIsLeftBehind) {
  ScriptFaults(R"({"WriteEPC": {"fault": "hang"}})");
  Driven single(kSingle), control(kControl);
  ExpectToBeLeftBehind(single, control, AwaitCall);
  EXPECT_TRUE(_log.Has("WaitForMultipeObjectsOrPipeTermination: Calling TerminateThread"));
  EXPECT_EQ(_log.Count("ShutdownAllPipes: Forcing Encoder Threads Termination"), 1);
  EXPECT_EQ(_log.Mentions("TerminateEncoderThreads: Terminating thread id: 0x"), 1);
  EXPECT_EQ(_log.Count("wmain: Tagwright Exit"), 2);
}

// On Windows it keeps the loader locked: the orderly end comes to a halt, or does not begin where
// the load was sooner than the watchers' threads, and the deadline ends the process without its
// lines.
TEST_F(LifetimeTest, AfterTheDriversDeathAComponentThatHangsWhileItIsLoadedIsLeftBehind) {
  Driven single(kSingle, "hanging\\tagwright"), control(kControl, "hanging\\tagwright");
  ExpectToBeLeftBehind(single, control, AwaitLoad);
}

TEST_F(LifetimeTest, AfterTheDriversDeathALogThatDoesNotAnswerIsLeftBehind) {
  Driven single(kSingle);
  const ScopedHandle log(
      CreateMutexW(nullptr, TRUE, TEXT("Brennick File Log Mutex for Brennick Tagwright.Native")));
  single.KillDriver();
  single.ExpectEnd(12000);
  ReleaseMutex(log.Get());
}

TEST_F(LifetimeTest, ADriverThatDiesAsSoonAsItIsConnectedIsNotMissed) {
  for (int round = 1; round <= 20; ++round) {
    SCOPED_TRACE(round);
    const std::string pipeName = UniquePipeName();
    EXPECT_EQ(Victim("hasty-driver", pipeName).ExitCode(), DWORD{0});
    const ULONGLONG end = GetTickCount64() + Program::kLongMs;
    while (_log.Count("wmain: Tagwright Exit") < round) {
      ASSERT_LT(GetTickCount64(), end) << "it does not end";
      Sleep(2);
    }
  }
}

TEST_F(LifetimeTest, NoEncoderIsLostWhenTheDriverDiesWhileItAdds) {
  for (int round = 1; round <= 6; ++round) {
    SCOPED_TRACE(round);
    Driven driven(kControl);
    // The death falls anywhere between two requests or within one.
    for (int i = 0; driven.First().Ask(0x300, UniquePipeName()); ++i) {
      if (i == round) driven.KillDriver();
    }
    driven.ExpectEnd(5000);
  }
  EXPECT_EQ(_log.Count("PipeServer::PipeServer: Constructor called"),
            _log.Count("PipeServer::~PipeServer: Destructor called"));
  EXPECT_EQ(_log.Count("ShutdownAllPipes: Leave"), 6);
  EXPECT_FALSE(_log.Mentions("Terminating thread"));
}

}  // namespace
