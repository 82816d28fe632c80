/// tagwright as a controller: which encoder pipes it creates, what their clients may do to it, and
/// how all of them end together.
#include <gmock/gmock.h>

#include <set>
#include <thread>

#include "process/control_fixture.h"

namespace {

using namespace std::string_literals;

class ControlModeTest : public ControlTest {
 protected:
  int Ended() const {
    return _log.Count("WaitForEncoderThreadShutdown: all threads signaled as shutdown");
  }
  int Terminated() const {
    return _log.Mentions("TerminateEncoderThreads: Terminating thread id: 0x");
  }

  /// A driver for each encoder sends the job this often; they do not wait for each other.
  void SendFromAllAtOnce(const std::string& job, int times) {
    std::vector<std::thread> drivers;
    for (PipeClient& encoder : _encoders) {
      drivers.emplace_back([&encoder, job, times] {
        for (int i = 0; i < times; ++i) encoder.Expect(0, 0x200, job);
      });
    }
    for (std::thread& driver : drivers) driver.join();
  }

  void ExpectOneJobAtATime() const {
    int inside = 0;
    for (const std::string& text : _log.Texts()) {
      inside += text.ends_with("Aquired _Zxp7EncodeMutex");
      inside -= text.ends_with("Releasing _Zxp7EncodeMutex");
      EXPECT_THAT(inside, testing::AnyOf(0, 1)) << text;
    }
  }

  /// Once another component object is called, the one before is never called again; what is left of
  /// it is disposed of when the next job may have begun.
  static void ExpectObjectsOneAfterAnother(std::size_t count) {
    std::vector<std::pair<DWORD, int>> objects;
    for (const auto& call : Calls()) {
      const std::pair object(call["process"].get<DWORD>(), call["object"].get<int>());
      if (object.second == 0 || call["member"] == "Dispose") continue;
      if (objects.empty() || objects.back() != object) objects.push_back(object);
    }
    EXPECT_EQ(objects.size(), count);
    EXPECT_EQ(std::set(objects.begin(), objects.end()).size(), count);
  }
};

/// A request over the control pipe, its answer, and the pipe that is there then, if any.
struct ControlRequest {
  std::uint32_t type;
  std::string payload;
  std::uint32_t status;
  std::string pipe;
};

std::vector<ControlRequest> RequestsAbout(const std::string& name) {
  const std::string accented = name + "\xE9\xDF",
                    longest = name + std::string(200 - name.size(), 'n');
  return {
      {0x302, "", 0, ""},
      {0x302, "with a payload", 0, ""},
      {0x200, "<zsdk_job/>", 200002, ""},
      {0x301, "", 200002, ""},
      {0x300, "", 0, ""},
      {0x300, "\0"s, 200004, ""},
      {0x300, "\0"s + name, 200004, ""},
      {0x300, name + '\0', 0, name},
      {0x300, name + '\0', 200005, ""},
      {0x300, name + "2", 0, name + "2"},
      {0x300, name + "3\0 and more"s, 0, name + "3"},
      {0x300, accented + '\0', 0, accented},
      {0x300, longest, 0, longest},
      {0x300, name + std::string(256 - name.size(), 'n'), 200005, ""},
  };
}

TEST_F(ControlModeTest, EncodesCardsAndTellsTheWholeStory) {
  StartController();
  _client.Expect(0, 0x302);
  AddEncoder().Expect(0, 0x200, Example("encode-epc.xml"));
  _client.Expect(200005, 0x300, Name(0));
  AddEncoder().Expect(0, 0x201, Example("card.xml"));
  AddEncoder().Expect(0, 0x100);
  AwaitReads(16);
  ShutDown();
  ExpectLog("control");
}

TEST_F(ControlModeTest, AnswersByTypeAndName) {
  StartController();
  const std::string name = _pipeName + " e";
  for (const ControlRequest& request : RequestsAbout(name)) {
    SCOPED_TRACE(testing::Message() << std::hex << request.type << " " << request.payload);
    _client.Expect(request.status, request.type, request.payload);
    if (request.pipe.empty()) continue;
    _encoders.emplace_back().Connect(request.pipe);
    _encoders.back().Expect(200002, 0x302);
  }
  // A server that has ended keeps its name.
  _encoders.front().Expect(0, 0x100);
  _client.Expect(200005, 0x300, name + '\0');
  ShutDown();
  for (PipeClient& encoder : _encoders) encoder.ExpectClosed();
  EXPECT_EQ(Ended(), 1);
  EXPECT_EQ(_log.Count("eAddEncoder unable to create pipe"), 3);
  EXPECT_EQ(_log.Count("TagwrightController::ParseIncomingMessage: eKeepAlive received"), 2);
}

TEST_F(ControlModeTest, NoClientHarmsIt) {
  RecordCalls();
  ScriptFaults(R"({"WriteEPC": {"fault": "delay", "delay_ms": 100}})");
  StartController();
  const std::string job = Example("encode-epc.xml");
  const std::string missed = Name(100);
  _client.Expect(0, 0x300, missed);
  AddEncoder().SendBytes("#@BK\0", 5);  // Goes within a header,
  _encoders.back().Close();
  PipeClient& cutOff = AddEncoder();  // within a payload,
  cutOff.SendHeader(Header(0x200, job.size()));
  cutOff.SendBytes(job.data(), job.size() / 2);
  cutOff.Close();
  PipeClient& impatient = AddEncoder();  // before the reply,
  impatient.Send(0x200, job);
  _tagwright.Await([&] { return HasCalled(_tagwright.Id(), "WriteEPC"); });
  impatient.Close();
  AddEncoder().Send(0x201, "<zsdk_job/>");  // never reads it,
  _tagwright.Await([&] { return _log.Has("Connection attempt timed out"); });
  PipeClient late;  // comes too late.
  late.TryConnect(missed.substr(0, missed.size() - 1));
  _client.Expect(200005, 0x300, missed);
  AddEncoder().Expect(0, 0x200, job);
  ShutDown();
  late.ExpectClosed();
  EXPECT_TRUE(_log.Has("Could not write reply message"));
  EXPECT_EQ(Ended(), 1) << "nobody had to be terminated";
}

TEST_F(ControlModeTest, EndsAsManyEncodersAsItCanWaitFor) {
  EndWithEncoders(0);
  EXPECT_EQ(_log.Count("There are no threads to wait for"), 1);
  EndWithEncoders(64);
  EXPECT_EQ(Ended(), 1);
}

TEST_F(ControlModeTest, AComponentThatHangsHoldsUpNobodyForLong) {
  RecordCalls();
  ScriptFaults(R"({"WriteEPC": {"fault": "hang"}})");
  StartController();
  const std::string job = Example("encode-epc.xml");
  AddEncoder().Send(0x200, job);
  _tagwright.Await([&] { return HasCalled(_tagwright.Id(), "WriteEPC"); });
  AddEncoder();
  ScriptFaults("{}");
  Serving other("tagwright");
  other.client.Send(0x200, job);  // Has to wait for the hanging job.
  other.program.Await([&] { return _log.Count("Aquiring _Zxp7EncodeMutex") == 2; });

  const ULONGLONG start = GetTickCount64();
  _client.Expect(0, 0x100);
  EXPECT_LT(GetTickCount64() - start, 15000U + 10000U);
  EXPECT_EQ(Terminated(), 1) << "before the reply";
  other.client.ExpectReply(0x200, 0);
  ExpectExit();
  for (PipeClient& encoder : _encoders) encoder.ExpectClosed();
  other.client.Expect(0, 0x100);
  EXPECT_EQ(other.program.ExitCode(), DWORD{0});
  ExpectLog("hung-component");
}

TEST_F(ControlModeTest, OneClientThatIsActiveKeepsTheProcess) {
  constexpr DWORD kIdleEndMs = 15 * 100;
  _tagwright.Start("hurried\\tagwright", "/c /n " + _pipeName);
  _tagwright.Connect(_client, _pipeName);
  AddEncoder();
  const ULONGLONG start = GetTickCount64();
  while (GetTickCount64() - start < 2 * kIdleEndMs) _encoders.back().Expect(200002, 0x302);
  ExpectExit();
}

TEST_F(ControlModeTest, OneJobAtATimeAmongProcesses) {
  RecordCalls();
  ScriptFaults(R"({"WriteEPC": {"fault": "delay", "delay_ms": 5}})");
  StartController();
  AddEncoder();
  AddEncoder();
  const std::string single = UniquePipeName();
  Program other;
  other.Start("tagwright", "/n " + single);
  other.Connect(_encoders.emplace_back(), single);
  SendFromAllAtOnce(Example("encode-epc.xml"), 8);
  _encoders.back().Expect(0, 0x100);
  EXPECT_EQ(other.ExitCode(), DWORD{0});
  ShutDown();
  ExpectOneJobAtATime();
  ExpectObjectsOneAfterAnother(24);
}

}  // namespace
