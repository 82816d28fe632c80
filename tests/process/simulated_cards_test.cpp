/// The simulated printer's feeder, faults and tags, as they are reached from the command line.
#include "process/process_fixture.h"

namespace {

class SimulatedCardsTest : public ProcessTest {
 protected:
  static DWORD Run(const std::string& arguments) {
    Program ctl;
    ctl.Start("tagwrightctl", arguments);
    return ctl.ExitCode();
  }
  static std::string Jobs(int count) {
    std::string jobs;
    for (int job = 0; job < count; ++job) {
      jobs += " \"" + std::string(TAGWRIGHT_EXAMPLES_DIR) + "/card.xml\"";
    }
    return jobs;
  }
  static std::string File(const char* name) { return ReadWholeFile(SimulatorFolder() / name); }
};

TEST_F(SimulatedCardsTest, ARunOfCardsWithOneFault) {
  EXPECT_EQ(Run("cards"), 3U) << "nobody feeds";
  EXPECT_EQ(Run("cards --start"), 0U);
  EXPECT_EQ(Run("fault WriteUserMemory partial-write --words 3 --card 2"), 0U);
  EXPECT_EQ(Run("fault SetKillPassword false --call 2"), 0U);
  EXPECT_EQ(Run("run" + Jobs(4)), 1U);
  std::istringstream lines(File("cards.jsonl"));
  std::string failures;
  for (std::string line; std::getline(lines, line);) {
    failures += std::string(nlohmann::json::parse(line)["failure"]) + "\n";
  }
  EXPECT_EQ(failures,
            "\nWriteUserMemory: insufficient power: the write stopped part-way\n"
            "SetKillPassword: scripted to return false\n\n");
  EXPECT_EQ(Run("cards --all"), 0U);
}

TEST_F(SimulatedCardsTest, FaultsAreCheckedBeforeTheyAreWritten) {
  EXPECT_EQ(Run("fault WriteEpc false"), 2U);
  EXPECT_EQ(Run("fault WriteEPC flase"), 2U);
  EXPECT_EQ(Run("fault WriteEPC"), 2U);
  EXPECT_EQ(File("faults.json"), "");
  ScriptFaults(R"({"WriteEPC": {"fault": "false"}})");
  EXPECT_EQ(Run("fault WriteEPC delay --delay 5"), 0U);
  EXPECT_EQ(nlohmann::json::parse(File("faults.json"))["WriteEPC"].size(), 2U);
  EXPECT_EQ(Run("fault --clear"), 0U);
  EXPECT_EQ(File("faults.json"), "");
  ScriptFaults("{");
  EXPECT_EQ(Run("fault"), 3U);
}

TEST_F(SimulatedCardsTest, ANewTagIsOfTheKindThatIsAskedFor) {
  EXPECT_EQ(Run("tag new USB001 --kind epc-only"), 0U);
  EXPECT_EQ(nlohmann::json::parse(File("USB001.json"))["kind"], "epc-only");
  EXPECT_EQ(Run("run" + Jobs(1)), 1U) << "it has no User bank";
  EXPECT_EQ(Run("tag new USB001"), 0U);
  EXPECT_EQ(Run("run" + Jobs(1)), 0U);
  EXPECT_EQ(Run("tag new USB001 --kind other"), 2U);
  std::ofstream(SimulatorFolder() / "printers.json") << R"({"printers": {"USB002": "standard"}})";
  EXPECT_EQ(Run("tag new USB001"), 3U) << "no such printer";
  EXPECT_EQ(Run("run" + Jobs(1)), 1U);
  EXPECT_EQ(Run("tag USB002 --all"), 2U);
  EXPECT_EQ(Run("tag USB002 --json"), 0U);
}

}  // namespace
