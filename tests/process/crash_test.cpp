/// Crashes of the component, and what is left of them.
#include "common/dump_folder.h"
#include "process/crash_fixture.h"

namespace {

class CrashTest : public ProcessTest {
 protected:
  std::string Job(const std::string& operations) const {
    return "<zsdk_job><printer port_type='1' port_address='" + _pipeName + "'/>" + operations +
           "</zsdk_job>";
  }
  static void Crash(const std::string& member, const std::string& kind) {
    ScriptFaults(R"({")" + member + R"(": {"fault": ")" + kind + R"("}})");
  }

  DumpFolder _dumps;
};

TEST_F(CrashTest, ACallThatCrashesFailsItsJobAndNothingElse) {
  const ProductLog component("Brennick Tagwright.Simulator");
  StartTagwright();
  int count = 0;
  for (const auto& [kind, code] :
       {std::pair{"crash-read", "C0000005"}, std::pair{"crash-divide", "C0000094"},
        std::pair{"crash-illegal", "C000001D"}, std::pair{"crash-stack", "C00000FD"},
        std::pair{"crash-noexcept", "C0000005"}}) {
    SCOPED_TRACE(kind);
    Crash("WriteEPC", kind);
    for (int round = 0; round < 2; ++round) {
      _client.Expect(200003, 0x200, Example("encode-epc.xml"));
      EXPECT_EQ(
          _log.Count("ZXP7EpcGen2Encode::ParseNextElement unknown exception occurred. Likely a "
                     "SEH Exception."),
          ++count);
    }
    Crash("TestManagedCodeAccessible", kind);
    _client.Expect(200003, 0x200, Example("encode-epc.xml"));
    EXPECT_TRUE(_log.Has(std::string("DLLs are missing. ExceptionCode:") + code));
  }
  Crash("Connect", "crash-read");
  _client.Expect(200003, 0x200, Example("encode-epc.xml"));
  EXPECT_TRUE(
      component.Has("ZebraSDKManagedBridge::Connect Unknown exception - likely a structured "
                    "exception handler exception"));
  Crash("Dispose", "crash-read");
  _client.Expect(0, 0x200, Example("encode-epc.xml"));
  _client.Expect(0, 0x100);
  ExpectExit();
}

TEST_F(CrashTest, ACrashOfTheMessageThreadIsReportedWithADumpThatKeepsNoPasswords) {
  const std::string accessPassword = "5EC2E7A1", killPassword = "0DDBA11D";
  StartTagwright();
  Crash("Disconnect", "crash-read");
  _client.Send(0x200, Job("<setpassword type='1' password='" + accessPassword +
                          "'/><setpassword type='0' password='" + killPassword + "'/>"));
  _client.ExpectClosed();
  ExpectExit();
  EXPECT_TRUE(_log.Has("Caught in [PipeServer::ProcessMessagesThread]"));
  const std::string path = DumpFolder::Path("bkcrash_0000.dmp");
  EXPECT_TRUE(_log.Has("MiniDump File: " + path));
  const std::string dump = DumpFolder::Content(path);
  EXPECT_FALSE(DumpFolder::Streams(dump).empty());
  for (const std::string& password : {accessPassword, killPassword}) {
    std::string wide;
    for (const char character : password) wide += std::string{character, '\0'};
    EXPECT_EQ(dump.find(password), dump.npos);
    EXPECT_EQ(dump.find(wide), dump.npos);
  }
}

TEST_F(FatalCrashTest, OfAnAbortAndOfAnExceptionThatNobodyMayThrow) {
  ExpectFatalCrash("abort", SystemText(ERROR_UNIDENTIFIED_ERROR));
  ExpectFatalCrash("throw from noexcept", SystemText(ERROR_UNIDENTIFIED_ERROR));
  ExpectFatalCrash("abort elsewhere", SystemText(ERROR_UNIDENTIFIED_ERROR), kProgram,
                   "unknown thread");
}

}  // namespace
