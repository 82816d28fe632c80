/// tagwright in single mode: a driver's session from start to exit code.
#include "process/process_fixture.h"

namespace {

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
  for (const char* value : {"E2004216", "4D656D62", "5EC0DE01", "0BADCAFE", "USB001"}) {
    EXPECT_FALSE(_log.Has(value)) << value;
  }
}

TEST_F(SingleModeTest, AnUnusableCommandLineIsToldInTheLogOnly) {
  _tagwright.Start("tagwright", "/n a /n");
  ExpectExit();
  EXPECT_EQ(FirstMissing(_log.Texts(),
                         {"DetailInfo: TagwrightServer: Starting",
                          "Errors: CommandArguments::Parse: Missing value after /n for pipe name",
                          "Errors: wmain: _tmain:  Has command parameters error",
                          "DetailInfo: wmain: Tagwright Exit"}),
            "");
  EXPECT_EQ(_log.Count("Errors, "), 2);
  EXPECT_FALSE(_log.Has("CreateServerPipe"));
}

TEST_F(SingleModeTest, ASecondProcessOnTheSameNameLeavesTheFirstAlone) {
  StartTagwright();
  Program second;
  second.Start("tagwright", "/n " + _pipeName);
  EXPECT_EQ(second.ExitCode(), DWORD{0});
  EXPECT_TRUE(_log.Has("CreateNamedPipe failed. GetLastError: 0x000000E7"));
  EXPECT_TRUE(_log.Has(
      "wmain: Server is not Ready. This can happen when this application is launched twice"));
  _client.Expect(0, 0x201, Example("encode-epc.xml"));
  ExpectExit();
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

TEST_F(SingleModeTest, WithoutADriverItEndsByItself) {
  _tagwright.Start("tagwright", "/n " + _pipeName);
  ExpectExit();
  EXPECT_TRUE(_log.Has("Connection attempt timed out"));
  EXPECT_TRUE(_log.Has("Pipe message handling thread exited"));
}

}  // namespace
