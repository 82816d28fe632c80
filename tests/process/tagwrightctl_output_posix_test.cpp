/// What tagwrightctl prints of jobs that run side by side; tests/client/transcripts has the rest.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdio>

#include "process/process_fixture.h"

namespace {

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

}  // namespace
