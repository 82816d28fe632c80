/// What the check says about jobs, on every system; transcripts/check.txt has all that it finds.
#include "client/check/job_check.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Tagwright::JobReport Check(const std::string& text) {
  return Tagwright::CheckJob({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

/// A job whose operations begin in column 1 of the second line, the first one a printer.
std::string Job(const std::string& operations) {
  return "<zsdk_job>\n<printer port_type=\"1\" port_address=\"A\"/>\n" + operations + "</zsdk_job>";
}

TEST(JobCheck, SaysWhatTheProgramDoesUpToTheOperationThatFails) {
  const Tagwright::JobReport report = Check(
      Job("<WRITE segment='1' data='AAAABBBB'/>\n<write segment='3' offset='4' data='AAAA'/>\n"
          "<lock lock_action='688800' password='12345678'/>\n"
          "<unlock lock_action='32800' password='12345678'/>\n"
          "<lock block='YES' startblock='1' blockcount='1' password=''/>\n"
          "<setpassword type='01' password='5EC0DE01'/>\n<erase/>\n"
          "<setpassword type='2' password='5EC0DE01'/>\n"));
  std::vector<std::string> steps;
  for (const Tagwright::Step& step : report.steps) {
    steps.push_back(std::to_string(step.row) + " " + step.text);
    EXPECT_THAT(step.text, AllOf(Not(HasSubstr("5EC0DE01")), Not(HasSubstr("12345678"))));
  }
  EXPECT_THAT(
      steps,
      ElementsAre("2 connects to the printer at \"A\", port type 1", "3 writes the EPC: 32 bits",
                  "4 writes 1 word to the User bank from word 4",
                  "5 locks the kill password, locks the access password, locks the EPC bank",
                  "6 unlocks the EPC bank",
                  "7 permanently locks 1 block of the User bank from block 1",
                  "8 sets the kill password", "9 fails: unknown operation"));
}

TEST(JobCheck, HasNothingToSayAboutTheExamples) {
  for (const auto& entry : std::filesystem::directory_iterator(TAGWRIGHT_EXAMPLES_DIR)) {
    if (entry.path().extension() != ".xml") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    EXPECT_THAT(Check({std::istreambuf_iterator<char>(file), {}}).findings, IsEmpty())
        << entry.path();
  }
}

}  // namespace
