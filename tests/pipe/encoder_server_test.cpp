/// The encoder server's answers.
#include "pipe/server_fixture.h"
#include "service/tagwright_controller.h"
#include "service/tagwright_server.h"
#include "support/thread_start.h"

namespace {

using EncoderServerTest = ServerTest;

TEST_F(EncoderServerTest, AnswersByTypeAndGoesOnToItsLastJob) {
  Create<TagwrightServer>(_pipeName.c_str());
  StartAndConnect();
  const std::tuple<std::uint32_t, std::string_view, std::uint32_t> cases[] = {
      {0x200, "", 0},
      {0x201, "", 0},  // Without a job there is nothing to do or to end.
      {0x200, "<zsdk_job/>", 0},
      {0x200, "<ZSDK_JOB/>", 200003},
      {0x200, "no document", 200003},
      {0x300, "name", 200002},
      {0, "", 200002},
      {0x200, "<zsdk_job><erase/></zsdk_job>", 200003},
      {0x201, "<other/>", 200003},
  };
  for (const auto& [type, payload, status] : cases) {
    SCOPED_TRACE(testing::Message() << type << " " << payload);
    _client.Expect(status, type, payload);
  }
  EXPECT_EQ(WaitForEnd(), PipeServer::kShutdownSignaled);
  EXPECT_EQ(_log.Count("TagwrightServer::ParseIncomingMessage: eEncodeAndShutdown"), 2);
}

TEST_F(EncoderServerTest, EndsWithTheControllerThatIsDestroyed) {
  Create<TagwrightController>(_pipeName.c_str());
  StartAndConnect();
  const std::string name = UniquePipeName();
  _client.Expect(0, 0x300, name);
  PipeClient encoder;
  encoder.Connect(name);
  encoder.Expect(200002, 0x302);
  StopServer();
  encoder.ExpectClosed();
  EXPECT_TRUE(_log.Has("WaitForEncoderThreadShutdown: all threads signaled as shutdown"));
}

TEST_F(EncoderServerTest, AControllerThatWasNotStartedIsShutDown) {
  auto& controller = Create<TagwrightController>(_pipeName.c_str());
  controller.ShutdownAllPipes();
  EXPECT_TRUE(_log.Has("WaitForControlThreadShutdown: WaitForSingleObjects failed"));
  EXPECT_FALSE(_log.Mentions("Forcibly"));
}

const ScopedHandle g_isHanging(CreateManualResetEvent());

TEST_F(EncoderServerTest, AControlThreadThatHangsIsEndedByForce) {
  auto& controller = Create<TagwrightController>(_pipeName.c_str());
  controller.SetOnActivityCallback([] {
    SetEvent(g_isHanging.Get());
    Sleep(INFINITE);
  });
  StartAndConnect();
  _client.Send(0x302);
  ASSERT_EQ(WaitForSingleObject(g_isHanging.Get(), kLongMs), WAIT_OBJECT_0);
  controller.ShutdownAllPipes();
  EXPECT_EQ(ExitCode(controller), 260U);
  EXPECT_EQ(_log.Count("TagwrightController::WaitForControlThreadShutdown: Timeout while waiting "
                       "for thread to shutdown"),
            1);
  EXPECT_EQ(
      _log.Count("TagwrightController::ShutdownAllPipes: Forcibly terminating control thread"), 1);
}

TEST_F(EncoderServerTest, OneThatIsStillBeingAddedWhenAllPipesAreShutDownIsRefused) {
  auto& controller = Create<TagwrightController>(_pipeName.c_str());
  std::jthread end;
  LogHooked("TagwrightServer::TagwrightServer Starting", [&] {
    end = std::jthread([&] { controller.ShutdownAllPipes(); });
    while (!_log.Has("ShutdownAllPipes: Encoder Threads shutdown")) Sleep(1);
  });
  StartAndConnect();
  _client.Send(0x300, UniquePipeName());
  EXPECT_EQ(WaitForEnd(), PipeServer::kShutdownSignaled);
  end.join();
  EXPECT_EQ(_log.Count("eAddEncoder unable to create pipe"), 1);
}

}  // namespace
