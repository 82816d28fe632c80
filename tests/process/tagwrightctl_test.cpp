/// tagwrightctl as it is used, on both systems; tests/client/transcripts has all that it prints.
#include "process/process_fixture.h"

namespace {

class TagwrightctlTest : public ProcessTest {
 protected:
  static DWORD Run(const std::string& arguments) {
    Program ctl;
    ctl.Start("tagwrightctl", arguments);
    return ctl.ExitCode();
  }
  static std::string Job(const std::string& name) {
    return "\"" + std::string(TAGWRIGHT_EXAMPLES_DIR) + "/" + name + "\" ";
  }
  static std::string Tag() { return ReadWholeFile(SimulatorFolder() / "USB001.json"); }
};

TEST_F(TagwrightctlTest, RunsJobsInAProcessOfItsOwn) {
  EXPECT_EQ(Run("run " + Job("card.xml")), 0U);
  const std::string encoded = Tag();
  EXPECT_NE(encoded.find("E200"), std::string::npos) << encoded;
  EXPECT_EQ(Run("run " + Job("card.xml")), 1U) << "its EPC is locked now";
  EXPECT_EQ(Tag(), encoded);
  EXPECT_EQ(Run("run --control 1 " + Job("rewrite-card.xml") + Job("kill.xml")), 0U);
  EXPECT_EQ(_log.Count("wmain: Tagwright Exit"), 3);
}

TEST_F(TagwrightctlTest, SendsItsVerbsOnOneConnection) {
  StartTagwright();
  const std::string send = "send --pipe " + _pipeName + " ";
  EXPECT_EQ(Run(send + "shutdown"), 5U) << "the pipe has its one client";
  _client.Expect(0, 0x100);
  ExpectExit();
  EXPECT_EQ(Run(send + "shutdown"), 4U) << "nobody serves the pipe";
}

TEST_F(TagwrightctlTest, TellsTimeOutFromAServerThatWentAway) {
  ScriptFaults(R"({"WriteEPC": {"fault": "hang"}})");
  EXPECT_EQ(Run("run --timeout 300 " + Job("encode-epc.xml")), 7U);
  ScriptFaults(R"({"ZebraSDK": {"fault": "throw-unknown"}})");
  EXPECT_EQ(Run("run " + Job("encode-epc.xml")), 6U);
}

TEST_F(TagwrightctlTest, FeedsCardsAndScriptsFaults) {
  EXPECT_EQ(Run("cards --start"), 0U);
  EXPECT_EQ(Run("fault SetKillPassword false --call 2"), 0U);
  EXPECT_EQ(Run("run " + Job("card.xml") + Job("card.xml") + Job("card.xml")), 1U);
  const std::string cards = ReadWholeFile(SimulatorFolder() / "cards.jsonl");
  EXPECT_EQ(std::ranges::count(cards, '\n'), 3);
  EXPECT_NE(cards.find("SetKillPassword: scripted to return false"), cards.npos) << cards;
}

TEST_F(TagwrightctlTest, SetsTheLogMask) {
  EXPECT_EQ(Run("log-mask errors,file"), 0U);
  StartTagwright();
  _client.Expect(0, 0x100);
  ExpectExit();
  EXPECT_EQ(_log.Content(), "");
  EXPECT_EQ(Run("log-mask errors,nonsense"), 2U);
}

}  // namespace
