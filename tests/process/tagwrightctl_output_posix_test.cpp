/// What tagwrightctl prints of jobs that run side by side; tests/client/transcripts has the rest.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdio>

#include "process/process_fixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

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

TEST_F(TagwrightctlOutput, SaysWhyAJobFailedBesideOthers) {
  const std::string locked = "ZebraSDK::WriteEPC: characters = 24, memory locked";
  ASSERT_EQ(Run("$ctl run card.xml"), 0) << output;
  EXPECT_EQ(Run("$ctl run --json --control 2 rewrite-card.xml encode-epc.xml"), 1);
  std::istringstream lines(output);
  std::vector<nlohmann::json> objects;
  for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(objects.size(), 3U) << output;
  EXPECT_EQ(objects.back()["failed"], nlohmann::json({"encode-epc.xml"}));
  const nlohmann::json& failed = objects[objects[0]["succeeded"] ? 1 : 0];
  EXPECT_EQ(failed["status"], 200003);
  EXPECT_EQ(failed["reasons"].back()["text"], locked) << output;
}

TEST_F(TagwrightctlOutput, SaysWhatIsWrongWithAComponent) {
  const std::string faulty = "$ctl component --timeout 500 \"${ctl%/*}/faulty_component.dll\"";
  const struct {
    std::string fault, expected;
  } kCases[] = {
      {"unknown version", "it does not know version 1"},
      {"any version", "answers with a table of another version"},
      {"other version", "its table says version 7 where 1 was asked for"},
      {"size", "its table has 16 bytes where version 1 has 136"},
      {"null", "its table has null for SetKillPassword, KillTag"},
      {"throw", "TestManagedCodeAccessible lets an exception cross the boundary: out of paper"},
      {"exit", "TestManagedCodeAccessible ends the process, exit code 0"},
      {"outcome", "TestManagedCodeAccessible gives an outcome that there is not: 9"},
      {"managed", "describes a managed exception without its type and stack trace"},
      {"beside", "TestManagedCodeAccessible writes beside the result"},
      {"crash", "DisposeObject crashes, exception code C0000005"},
      {"shared object", "CreateObject gives the same object twice"},
      {"hang", "InitLogging hangs: it has not ended after 500 ms"},
  };
  for (const auto& test : kCases) {
    EXPECT_EQ(Run("TAGWRIGHT_FAULT='" + test.fault + "' " + faulty), 9) << test.fault;
    EXPECT_THAT(output, HasSubstr("faulty_component.dll: error: ")) << test.fault;
    EXPECT_THAT(output, HasSubstr(test.expected));
  }
  EXPECT_EQ(Run("TAGWRIGHT_FAULT=write " + faulty + " --call encode-epc.xml"), 9);
  EXPECT_THAT(output, HasSubstr("WriteEPC (24 characters) writes through the text"));
  EXPECT_EQ(Run("TAGWRIGHT_FAULT=refuse " + faulty + " --call encode-epc.xml"), 1);
  EXPECT_THAT(output, AllOf(HasSubstr("the job fails at <write>"), HasSubstr("nothing is wrong")));
  EXPECT_EQ(Run("TAGWRIGHT_FAULT='no printer' " + faulty + " --call card.xml"), 1);
  EXPECT_THAT(output, AllOf(HasSubstr("LogErrorEvent (27 characters): "),
                            HasSubstr("the job fails at <printer>")));
  EXPECT_EQ(Run(faulty + " --call card.xml"), 1) << "its LockTag returns false";
  EXPECT_EQ(Run("$ctl component \"${ctl%/*}/needy_component.dll\""), 9);
  EXPECT_THAT(output, HasSubstr("does not load: libabsent_library.so"));
  EXPECT_EQ(Run("$ctl component card.xml"), 9);
  EXPECT_THAT(output, HasSubstr("it is no library"));
}

}  // namespace
