/// tagwrightctl as people see it: what it prints, and what it takes from pipes.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdio>

#include "process/process_fixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class TagwrightctlOutput : public ProcessTest {
 protected:
  /// Runs a shell's command line, in which $ctl is the program, and keeps what it printed.
  int Run(const std::string& line) {
    const std::string folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    std::FILE* const shell = popen(
        ("ctl='" + folder + "/tagwrightctl'; cd '" + TAGWRIGHT_EXAMPLES_DIR "'; exec 2>&1; " + line)
            .c_str(),
        "r");
    output.clear();
    char piece[4096];
    while (const std::size_t size = std::fread(piece, 1, sizeof piece, shell)) {
      output.append(piece, size);
    }
    return WEXITSTATUS(pclose(shell));
  }

  std::string output;
};

TEST_F(TagwrightctlOutput, AJobFromAPipeIsSentWhole) {
  const std::string fifo = SimulatorFolder() / "job.fifo";
  EXPECT_EQ(Run("cat encode-epc.xml | $ctl run /dev/stdin"), 0) << output;
  EXPECT_NE(ReadWholeFile(SimulatorFolder() / "USB001.json").find("3008"), std::string::npos);
  EXPECT_EQ(Run("(cat card.xml; printf ' ') | $ctl run -"), 0) << output;
  EXPECT_EQ(Run("mkfifo '" + fifo + "'; (head -c 100 kill.xml; tail -c +101 kill.xml) > '" + fifo +
                "' & $ctl run '" + fifo + "'"),
            0)
      << output;
  EXPECT_EQ(Run("$ctl run - </dev/null"), 9);
  EXPECT_THAT(output, HasSubstr("the job is empty"));
  EXPECT_EQ(Run("$ctl run --force - </dev/null"), 0) << output;
}

TEST_F(TagwrightctlOutput, SaysWhyAJobFailedAndSumsUp) {
  const std::string locked = "ZebraSDK::WriteEPC: characters = 24, memory locked";
  EXPECT_EQ(Run("$ctl run card.xml card.xml encode-epc.xml rewrite-card.xml"), 1);
  EXPECT_THAT(output,
              AllOf(HasSubstr("[1/4] card.xml: eStatusSuccess (0), "),
                    HasSubstr("[2/4] card.xml: eStatusEncodeFailed (200003), "), HasSubstr(locked),
                    HasSubstr("2 of 4 succeeded, 2 failed: card.xml, encode-epc.xml\n")));
  EXPECT_EQ(Run("$ctl run --quiet --fail-fast card.xml encode-epc.xml"), 1);
  EXPECT_THAT(output, AllOf(HasSubstr("[1/2] card.xml"), Not(HasSubstr("[2/2]")),
                            HasSubstr("1 failed: card.xml, 1 not sent")));
  EXPECT_EQ(Run("$ctl run --json --control 2 rewrite-card.xml encode-epc.xml"), 1);
  std::istringstream lines(output);
  std::vector<nlohmann::json> objects;
  for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(objects.size(), 3U) << output;
  EXPECT_EQ(objects.back()["failed"], nlohmann::json({"encode-epc.xml"}));
  const nlohmann::json& failed = objects[objects[0]["succeeded"] ? 1 : 0];
  EXPECT_EQ(failed["status"], 200003);
  EXPECT_EQ(failed["reasons"].back()["text"], locked) << output;
  EXPECT_EQ(Run("$ctl log --failures --since 1h"), 0);
  EXPECT_THAT(output, HasSubstr("Errors"));
  EXPECT_THAT(output, HasSubstr(locked));
}

TEST_F(TagwrightctlOutput, LooksAtJobsBeforeItSendsThem) {
  const std::string misspelt = "sed 's/segment=\"3\"/Segment=\"3\"/' card.xml | ";
  EXPECT_EQ(Run(misspelt + "$ctl check -"), 9);
  EXPECT_THAT(output,
              AllOf(HasSubstr("-:8: writes 8 words to the Reserved bank from word 0\n"),
                    HasSubstr("-:8:10: warning: unknown attribute \"Segment\" is ignored; did you "
                              "mean \"segment\"?\n"),
                    Not(HasSubstr("5EC0DE01")), Not(HasSubstr("0BADCAFE"))));
  EXPECT_EQ(Run(misspelt + "$ctl run --strict -"), 9);
  EXPECT_FALSE(std::filesystem::exists(SimulatorFolder() / "USB001.json")) << "nothing is sent";
  EXPECT_EQ(Run("head -c 300 card.xml | $ctl run -"), 9);
  EXPECT_EQ(Run("$ctl check card.xml kill.xml"), 0) << output;
}

TEST_F(TagwrightctlOutput, NamesTheWordThatIsWrong) {
  const std::pair<const char*, const char*> cases[] = {
      {"chek card.xml", "tagwrightctl: \"chek\" is no command; did you mean \"check\"?\n"},
      {"run --strit card.xml",
       "tagwrightctl: \"--strit\" is no option of run; did you mean \"--strict\"?\n"},
      {"--versoin", "tagwrightctl: \"--versoin\" is no option; did you mean \"--version\"?\n"},
      {"log-mask eror", "tagwrightctl: \"eror\" is no log level; did you mean \"errors\"?\n"},
      {"lock-action ecp=lock",
       "tagwrightctl: \"ecp\" is no field of a lock action; did you mean \"epc\"?\n"},
      {"send --pipe no-such-pipe shutdwon",
       "tagwrightctl: \"shutdwon\" is no verb; did you mean \"shutdown\"?\n"},
  };
  for (const auto& [arguments, expected] : cases) {
    EXPECT_EQ(Run(std::string("$ctl ") + arguments), 2);
    EXPECT_EQ(output, expected);
  }
  EXPECT_EQ(Run("$ctl --version"), 0);
  EXPECT_THAT(output, StartsWith("tagwrightctl 1."));
  EXPECT_EQ(Run("$ctl help run"), 0);
  EXPECT_THAT(output, HasSubstr("--fail-fast"));
}

TEST_F(TagwrightctlOutput, ADialogueHasHelpCommentsAndAnEnd) {
  _tagwright.Start("tagwright", "/c /n " + _pipeName);
  // Exit code 4: the pipe is not there yet.
  EXPECT_EQ(
      Run("while :; do text=$(printf 'help\\n# nothing\\n\\nkeep-alive\\nquit\\nshutdown\\n' | "
          "$ctl send --pipe " +
          _pipeName +
          " - 2>/dev/null); code=$?; [ $code -eq 4 ] || "
          "break; done; printf '%s' \"$text\"; exit $code"),
      0);
  EXPECT_THAT(output, AllOf(HasSubstr("raw TYPE [FILE]"), HasSubstr("keep-alive: eStatusSuccess"),
                            Not(HasSubstr("shutdown: "))));
}

TEST_F(TagwrightctlOutput, ShowsWhatRunsAndWhereThingsAre) {
  StartTagwright();
  EXPECT_EQ(Run("$ctl status"), 0);
  EXPECT_THAT(output,
              AllOf(HasSubstr("process " + std::to_string(_tagwright.Id()) + ", encoder pipe " +
                              _pipeName + ", started by test_process ("),
                    HasSubstr("its five files are there"), HasSubstr("native: 0x"),
                    HasSubstr(std::getenv("TAGWRIGHT_ROOT"))));
  _client.Expect(0, 0x100);
  ExpectExit();
}

}  // namespace
