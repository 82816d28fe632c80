/// A pipe server from its pipe to its end: connecting, waiting, stopping, failing.
#include <gmock/gmock.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <tuple>

#include "pipe/server_fixture.h"
#include "platform/framework_exceptions.h"
#include "support/oexception.h"
#include "support/thread_start.h"

namespace {

class LifecycleTest : public ServerTest {
 protected:
  ScriptedServer& CreateServer() { return Create<ScriptedServer>(_pipeName, Acknowledge); }

  /// Serve in place of what was served before, under another name.
  void ServeAnew(ScriptedServer::Handler handler) {
    StopServer();
    _client.Close();
    _pipeName = UniquePipeName();
    Serve(std::move(handler));
  }
};

TEST_F(LifecycleTest, AClientThatHasGoneBeforeTheServerWasStarted) {
  CreateServer();
  _client.Connect(_pipeName);
  _client.Close();
  ASSERT_TRUE(_server->StartProcessMessageThread(kLongMs));
  EXPECT_EQ(WaitForEnd(), PipeServer::kMessageThreadEnded);
  EXPECT_EQ(ExitCode(*_server), 0U);
  EXPECT_TRUE(_log.Has("ConnectThreadProc: ConnectNamedPipe failed.  Last error = 0x000000E8"));
  EXPECT_TRUE(
      _log.Has("WaitClientConnection: Connection thread exited without connecting. _shutdown = 0"));
}

TEST_F(LifecycleTest, ShutdownEndsEveryStage) {
  CreateServer();
  EXPECT_EQ(WaitForEnd(), PipeServer::kWaitFailed) << "no message thread yet";
  ASSERT_TRUE(_server->StartProcessMessageThread(INFINITE));
  _server->Shutdown();
  EXPECT_EQ(WaitForEnd(), PipeServer::kShutdownSignaled);
  _server->Shutdown();  // Again, to no harm.
  EXPECT_FALSE(_server->StartProcessMessageThread(kLongMs));
  EXPECT_FALSE(_log.Mentions("Calling TerminateThread"));
  const HANDLE thread = _server->GetThreadHandle();
  _server.reset();
  EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_FAILED) << "its handle is closed";
}

TEST_F(LifecycleTest, ShutdownFindsABlockedReadWheneverItComes) {
  // The shutdown falls at every point between two reads; none may leave the thread blocked.
  for (int round = 0; round < 60; ++round) {
    ServeAnew(Acknowledge);
    if (round % 2 == 1) _client.Expect(0, 0x302);
    _server->Shutdown();
    ASSERT_EQ(WaitForEnd(), PipeServer::kShutdownSignaled);
  }
  EXPECT_FALSE(_log.Mentions("Calling TerminateThread"));
}

TEST_F(LifecycleTest, TheOwnersWaitTellsWhatHappened) {
  Serve(Acknowledge);
  const ScopedHandle off(CreateManualResetEvent()), on(CreateManualResetEvent());
  SetEvent(on.Get());
  const auto wait = [&](std::vector<HANDLE> handles) {
    return _server->WaitForMultipeObjectsOrPipeTermination(static_cast<DWORD>(handles.size()),
                                                           handles.data(), 0, kLongMs);
  };
  EXPECT_EQ(wait({}), PipeServer::kWaitTimedOut);
  EXPECT_EQ(wait({off.Get(), on.Get(), on.Get()}), PipeServer::kUserEvent + 1);
  EXPECT_EQ(wait(std::vector<HANDLE>(62, on.Get())), PipeServer::kUserEvent);
  EXPECT_EQ(wait(std::vector<HANDLE>(63, on.Get())), PipeServer::kWaitFailed);
  EXPECT_EQ(wait({reinterpret_cast<HANDLE>(std::uintptr_t{0x7654})}), PipeServer::kWaitFailed);

  const ScopedHandle mutex(CreateMutexW(nullptr, FALSE, nullptr));
  std::thread([&] { WaitForSingleObject(mutex.Get(), INFINITE); }).join();
  EXPECT_EQ(wait({off.Get(), mutex.Get()}), PipeServer::kUserAbandoned + 1);

  _server->Shutdown();
  EXPECT_EQ(wait({on.Get()}), PipeServer::kShutdownSignaled);
  EXPECT_EQ(_log.Count("WaitForMultipeObjectsOrPipeTermination: Wait Timed Out"), 1);
  EXPECT_EQ(_log.Count("WaitForMultipeObjectsOrPipeTermination: User handle abandoned"), 1);
}

/// Its handler may hold the lock that a termination waits for.
struct LockableServer : ScriptedServer {
  using ScriptedServer::_terminationLock;
  using ScriptedServer::ScriptedServer;
};

TEST_F(LifecycleTest, ATerminationWaitsForTheStepThatMustNotBeCutShort) {
  const ScopedHandle entered(CreateManualResetEvent());
  std::atomic<bool> isStepDone = false;
  Create<LockableServer>(_pipeName, [&](const auto&, const BYTE*, auto&) {
    {
      OAutoLock lock(static_cast<LockableServer&>(*_server)._terminationLock);
      SetEvent(entered.Get());
      Sleep(100);
      isStepDone = true;
    }
    Sleep(INFINITE);
    return true;
  });
  StartAndConnect();
  _client.Send(0x200);
  ASSERT_EQ(WaitForSingleObject(entered.Get(), kLongMs), WAIT_OBJECT_0);
  _server->Shutdown();
  EXPECT_EQ(WaitForEnd(0), PipeServer::kShutdownSignaled);
  EXPECT_TRUE(isStepDone);
  EXPECT_EQ(ExitCode(*_server), 260U);
  EXPECT_TRUE(_log.Has("Calling TerminateThread"));
}

TEST_F(LifecycleTest, RunWaitsForTheEndAndThenForcesIt) {
  for (const auto& [handlerMs, maxShutdownMs, exitCode] :
       {std::tuple{100U, kLongMs, 0U}, {INFINITE, 0U, 260U}}) {
    PipeClient client;
    ScriptedServer server(_pipeName, [&, ms = handlerMs](const auto&, const BYTE*, auto&) {
      server.Shutdown();
      Sleep(ms);
      return true;
    });
    ASSERT_TRUE(server.CreateServerPipe());
    client.Connect(_pipeName);  // Before the server was started.
    std::jthread driver([&] { client.Send(0x200); });
    server.Run(kLongMs, maxShutdownMs);
    EXPECT_EQ(ExitCode(server), exitCode);
    EXPECT_TRUE(server.IsShutdown());
  }
  EXPECT_EQ(_log.Count("...the-pipe: PipeServer::Run: Enter"), 2);
  EXPECT_EQ(_log.Count("...the-pipe: PipeServer::Run: Exit"), 2);
  EXPECT_FALSE(_log.Mentions("Calling TerminateThread"));
}

TEST_F(LifecycleTest, ACancelledWaitForTheClientEndsTheServer) {
  ScriptedServer withoutPipe(UniquePipeName(), Acknowledge);
  EXPECT_TRUE(withoutPipe.CancelPipeIo());
  CreateServer();
  ASSERT_TRUE(_server->StartProcessMessageThread(INFINITE));
  // Only a wait that has begun can be cancelled.
  while (WaitForSingleObject(_server->GetThreadHandle(), 1) == WAIT_TIMEOUT) {
    _server->CancelPipeIo();
  }
  EXPECT_EQ(WaitForEnd(), PipeServer::kMessageThreadEnded);
}

TEST_F(LifecycleTest, AConnectionThreadThatTakesItsTimeIsWaitedForAndOneThatHangsIsEnded) {
  for (const auto& [stepMs, maxShutdownMs] : {std::pair{DWORD{20}, kLongMs}, {INFINITE, 0}}) {
    const ScopedHandle ownedByIt(CreateMutexW(nullptr, FALSE, nullptr));
    LogHooked("ConnectThreadProc: Enter", [&, ms = stepMs] {
      WaitForSingleObject(ownedByIt.Get(), 0);
      _server->Shutdown();
      Sleep(ms);
    });
    _pipeName = UniquePipeName();
    CreateServer();
    ASSERT_TRUE(_server->StartProcessMessageThread(INFINITE));
    EXPECT_EQ(WaitForEnd(maxShutdownMs), PipeServer::kShutdownSignaled);
    EXPECT_EQ(WaitForSingleObject(ownedByIt.Get(), 0), DWORD{WAIT_ABANDONED}) << "it is gone";
    EXPECT_EQ(_log.Count("ConnectThreadProc: Exit"), 1) << "the first has come to its end";
  }
}

TEST_F(LifecycleTest, AConnectionThreadThatFails) {
  LogHooked("ConnectThreadProc: Enter", [] { throw new CException(TEXT("port busy")); });
  CreateServer();
  ASSERT_TRUE(_server->StartProcessMessageThread(INFINITE));
  EXPECT_EQ(WaitForEnd(), PipeServer::kMessageThreadEnded);
  EXPECT_EQ(_log.Count("PipeServer::ConnectThreadProc: Exception. Message = port busy"), 1);
}

TEST_F(LifecycleTest, EveryThreadEntersItsApartmentAndLeavesIt) {
  for (const auto& [line, expected] :
       {std::pair{"ConnectThreadProc: ConnectNamedPipe succeeded", S_FALSE},
        {"ConnectThreadProc: Exit", S_OK},
        {"ProcessMessages: Enter", S_FALSE},
        {"ProcessMessages: Thread exit", S_FALSE},
        {"ProcessMessagesThread: Thread Exit", S_OK}}) {
    std::atomic<HRESULT> entered{-1};
    LogHooked(line, [&] {
      entered = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
      CoUninitialize();
    });
    ServeAnew(Acknowledge);
    _client.Expect(0, 0x302);
    StopServer();
    EXPECT_EQ(entered, expected) << line;
  }
}

TEST_F(LifecycleTest, AHandlerThatFailsEndsItsServerAndLeavesItsLines) {
  constexpr char kUnknownType[] =
      "Exception thrown of unknown type. Since we're not handling SEH exceptions here it could be "
      "a SEH exception";
  const struct {
    void (*fail)();
    std::vector<const char*> lines;
  } kCases[] = {
      {[] { throw std::runtime_error("no paper"); },
       {"PipeServer::ProcessMessages: std::exception. Message =no paper",
        "PipeServer::ProcessMessagesThread: std::exception. Message =no paper"}},
      {[] { throw new CException(TEXT("port busy")); },
       {"PipeServer::ProcessMessages: CException. Message = port busy",
        "PipeServer::ProcessMessagesThread: CException. Message = port busy"}},
      {[] { throw std::bad_alloc(); }, {"Caught in [PipeServer::ProcessMessagesThread]"}},
      {[] { throw new CMemoryException; }, {"Caught in [PipeServer::ProcessMessagesThread]"}},
      {[] { throw OException(1359, "Division by zero.", nullptr); },
       {"Error: Division by zero.", kUnknownType}},
      {[] { throw OStdException("vector too long"); }, {"Error: vector too long", kUnknownType}},
      {[] { throw 42; }, {kUnknownType}}};
  for (const auto& [fail, lines] : kCases) {
    _log.Clear();
    ServeAnew([fail = fail](const auto&, const BYTE*, auto&) { return fail(), true; });
    _client.Send(0x200);
    EXPECT_EQ(WaitForEnd(), PipeServer::kMessageThreadEnded);
    for (const char* line : lines) EXPECT_TRUE(_log.Has(line)) << line;
  }
}

}  // namespace
