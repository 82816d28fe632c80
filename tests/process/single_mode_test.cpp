/// tagwright in single mode: a driver's session from start to exit code.
#include <gmock/gmock.h>

#include "process/process_fixture.h"

namespace {

using testing::Contains;
using testing::HasSubstr;

/// Whether `texts` holds `expected` in this order, other lines between them allowed; names the
/// first that is missing.
std::string FirstMissing(const std::vector<std::string>& texts,
                         const std::vector<std::string>& expected) {
  auto at = texts.begin();
  for (const std::string& line : expected) {
    at = std::find(at, texts.end(), line);
    if (at == texts.end()) return line;
    ++at;
  }
  return {};
}

class SingleModeTest : public ProcessTest {
 protected:
  std::string Intro(const std::string& function) const {
    return "DetailInfo: Pipe: ..." + _pipeName.substr(_pipeName.size() - 8) + ": " + function +
           ": ";
  }
};

TEST_F(SingleModeTest, EncodesACardAndTellsTheWholeStory) {
  StartTagwright();
  _client.Expect(0, 0x200, Example("card.xml"));
  _client.Expect(0, 0x100);
  ExpectExit();
  const std::vector<std::string> story = {
      "DetailInfo: TagwrightServer: Starting",
      "DetailInfo: Pipe: ...: PipeServer::PipeServer: Constructor called",
      "DetailInfo: TagwrightServer::TagwrightServer Starting",
      Intro("PipeServer::CreateServerPipe") + "Enter",
      Intro("PipeServer::StartProcessMessageThread") + "Starting message procesing thread",
      Intro("PipeServer::WaitClientConnection") + "Enter. Timeout: 0x00001388",
      Intro("PipeServer::WaitClientConnection") + "Successfully Connected",
      Intro("PipeServer::ProcessMessages") + "Enter",
      "DetailInfo: TagwrightServer::ParseIncomingMessage: ",
      "DetailInfo: TagwrightServer::ParseIncomingMessage: eEncode",
      "DetailInfo: ZXP7EpcGen2Encode::ZXP7EpcGen2Encode",
      "DetailInfo: ZXP7EpcGen2Encode::CreateSDKJobXmlDocument",
      "DetailInfo: TagwrightServer::ParseIncomingMessage: Serializing all Encoding - Aquiring "
      "_Zxp7EncodeMutex",
      "DetailInfo: TagwrightServer::ParseIncomingMessage: Serializing all Encoding - Aquired "
      "_Zxp7EncodeMutex",
      "DetailInfo: ZXP7EpcGen2Encode::ParseAndExecuteXML",
      "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement",
      "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement printer",
      "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement write WMB_EPC",
      "DetailInfo: ZXP7EpcGen2Encode::ParseAndExecuteXML: All elements parsed",
      "DetailInfo: ZXP7EpcGen2Encode::ParseAndExecuteXML: Calling "
      "_pZebraSDKManagedBridge->Disconnect()",
      "DetailInfo: TagwrightServer::ParseIncomingMessage: Serializing all Encoding - Releasing "
      "_Zxp7EncodeMutex",
      "DetailInfo: TagwrightServer::ParseIncomingMessage eShutdown",
      Intro("PipeServer::Shutdown") + "Enter",
      Intro("PipeServer::WaitForMultipeObjectsOrPipeTermination") + "Shutdown was signaled",
      "DetailInfoD: wmain: Detected that pipe server has stopped",
      Intro("PipeServer::~PipeServer") + "Destructor called",
      "DetailInfoD: wmain: Waiting for watch parent and watch idle threads to exit",
      "DetailInfo: wmain: Watch Parent and Watch Idle successfully aborted",
      "DetailInfoD: wmain: Cleaning up handles",
      "DetailInfo: wmain: Tagwright Exit",
  };
  EXPECT_EQ(FirstMissing(_log.Texts(), story), "");
  EXPECT_FALSE(_log.Has("Errors, Thread"));
}

TEST_F(SingleModeTest, AnUnusableCommandLineIsToldInTheLogOnly) {
  for (const auto& [arguments, text] :
       {std::pair{"", "Missing pipe name"}, std::pair{"/N name -n name /c", "Missing pipe name"},
        std::pair{"/n a /n", "Missing value after /n for pipe name"}}) {
    ProductLog log;
    Program program;
    program.Start("tagwright", arguments);
    EXPECT_EQ(program.WaitForExit(), DWORD{0});
    EXPECT_EQ(FirstMissing(log.Texts(), {"DetailInfo: TagwrightServer: Starting",
                                         std::string("Errors: CommandArguments::Parse: ") + text,
                                         "Errors: wmain: _tmain:  Has command parameters error",
                                         "DetailInfo: wmain: Tagwright Exit"}),
              "")
        << arguments;
    EXPECT_EQ(log.Count("Errors, "), 2) << arguments;
    EXPECT_FALSE(log.Has("CreateServerPipe")) << arguments;
  }
}

TEST_F(SingleModeTest, ASecondProcessOnTheSameNameLeavesTheFirstAlone) {
  StartTagwright();
  Program second;
  second.Start("tagwright", "/n " + _pipeName);
  EXPECT_EQ(second.WaitForExit(), DWORD{0});
  EXPECT_TRUE(_log.Has("CreateNamedPipe failed. GetLastError: 0x000000E7"));
  EXPECT_TRUE(_log.Has(
      "wmain: Server is not Ready. This can happen when this application is launched twice"));
  _client.Expect(0, 0x201, Example("encode-epc.xml"));
  ExpectExit();
}

TEST_F(SingleModeTest, SurvivesEveryFailureOfTheComponentBySayingSo) {
  StartTagwright();
  const std::string job = Example("encode-epc.xml");
  const std::string connect = "ZebraSDKManagedBridge::Connect ";
  const std::string element = "ZXP7EpcGen2Encode::ParseNextElement ";
  struct Case {
    std::string faults;
    std::string line;
  };
  for (const Case& fault : {
           Case{R"({"WriteEPC": {"fault": "false"}})", "All elements parsed"},
           Case{R"({"WriteEPC": {"fault": "throw-standard", "text": "disk full"}})",
                element + "std::exception Occurred: disk full"},
           Case{R"({"WriteEPC": {"fault": "throw-framework", "text": "port busy"}})",
                element + "CException Occurred: port busy"},
           Case{R"({"WriteEPC": {"fault": "throw-managed", "text": "no reader"}})",
                element + "unknown exception occurred. Likely a SEH Exception."},
           Case{R"({"TestManagedCodeAccessible": {"fault": "throw-managed"}})",
                "ZXP7EpcGen2Encode::VerifyManagedComponentsLoad: A structured exception "
                "handler(SEH) exception occurred trying to load the managed components. It's "
                "likely one or more DLLs are missing. ExceptionCode:"},
       }) {
    ScriptFaults(fault.faults);
    _client.Expect(200003, 0x200, job);
    EXPECT_TRUE(_log.Has(fault.line)) << fault.line;
  }
  ScriptFaults("{}");
  _client.Expect(0, 0x200, job);
  _client.Expect(0, 0x100);
  ExpectExit();
  EXPECT_FALSE(_log.Has(connect)) << "that line belongs to the component's log";
}

TEST_F(SingleModeTest, AComponentThatCannotBeCreatedEndsTheServiceWithoutAReply) {
  ScriptFaults(R"({"ZebraSDK": {"fault": "throw-standard", "text": "no runtime"}})");
  StartTagwright();
  _client.Send(0x200, Example("encode-epc.xml"));
  _client.ExpectClosed();
  ExpectExit();
  EXPECT_TRUE(_log.Has("PipeServer::ProcessMessages: std::exception. Message =no runtime"));
  EXPECT_TRUE(_log.Has("PipeServer::ProcessMessagesThread: std::exception. Message =no runtime"));
}

TEST_F(SingleModeTest, ARequestInPiecesAndADamagedHeaderGetWhatTheyDeserve) {
  StartTagwright();
  auto damaged = Header(0x200);
  damaged.magic[1] = 'x';
  _client.SendHeader(damaged);
  const auto header = Header(0x302);
  const auto* bytes = reinterpret_cast<const char*>(&header);
  for (const auto& [at, count] : {std::pair{0, 5}, std::pair{5, 5}, std::pair{10, 6}}) {
    _client.SendBytes(bytes + at, count);
  }
  _client.ExpectReply(0x302, 200002);
  _client.Expect(0, 0x100);
  ExpectExit();
  EXPECT_EQ(_log.Count("Invalid header"), 1);
}

TEST_F(SingleModeTest, WithoutADriverItEndsByItself) {
  _tagwright.Start("tagwright", "/n " + _pipeName);
  ExpectExit();
  EXPECT_TRUE(_log.Has("Connection attempt timed out"));
  EXPECT_TRUE(_log.Has("Pipe message handling thread exited"));
}

TEST_F(SingleModeTest, TheMaskDecidesWhatTheFileHolds) {
  _log.SetMask(0x84000000U);  // Errors, and the file.
  StartTagwright();
  auto damaged = Header(0x200);
  damaged.magic[0] = 0;
  _client.SendHeader(damaged);
  _client.Expect(0, 0x100);
  ExpectExit();
  EXPECT_THAT(_log.Lines(), testing::ElementsAre(HasSubstr(", Errors, Thread:0x")));

  ProductLog quiet;
  quiet.SetMask(0xF000FFFFU);  // Everything, but no copy.
  Program program;
  program.Start("tagwright", "");
  program.WaitForExit();
  EXPECT_EQ(quiet.Content(), "");
}

TEST_F(SingleModeTest, NothingOfAJobReachesTheLog) {
  StartTagwright();
  const std::string secret = "5EC2E7A1";
  _client.Expect(200003, 0x200,
                 "<zsdk_job><printer port_type='1' port_address='" + _pipeName +
                     "'/><setpassword type='1' password='" + secret + "'/><lock password='" +
                     secret + "x' lock_action='131200'/></zsdk_job>");
  _client.Expect(0, 0x100);
  ExpectExit();
  EXPECT_FALSE(_log.Has(secret));
}

}  // namespace
