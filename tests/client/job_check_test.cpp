/// What the check says about jobs: one table of documents, each with the finding that it must have.
#include "client/check/job_check.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using Tagwright::Severity;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
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

MATCHER_P2(Finds, place, text, "") {
  return std::to_string(arg.row) + ":" + std::to_string(arg.column) == place &&
         arg.text.find(text) != std::string::npos;
}

std::string Words(int count) { return std::string(4 * static_cast<std::size_t>(count), 'A'); }

TEST(JobCheck, FindsWhatIsWrongWithAnOperationWhereItStands) {
  const struct {
    std::string operation;
    const char* place;
    const char* text;
  } kCases[] = {
      {"<wirte segment='1' data='AAAA'/>", "3:1", "the job fails here; did you mean \"write\"?"},
      {"<write Segment='3' segment='1' data='AAAA'/>", "3:8", "ignored; did you mean \"segment\"?"},
      {"<write colour='3' segment='1' data='AAAA'/>", "3:8",
       "unknown attribute \"colour\" is ignored"},
      {"<write segment='1'/>", "3:1", "data is missing: nothing is taken"},
      {"<write segment='12abc' offset='0' data='AAAA'/>", "3:8", "\"12abc\" is read as 12"},
      {"<write segment='3' offset='0x10' data='AAAA'/>", "3:20", "\"0x10\" is read as 0"},
      {"<write segment='3' offset='99999999999' data='AAAA'/>", "3:20", "is read as 2147483647"},
      {"<write segment='1' data='AAAAA'/>", "3:20", "has 5 digits"},
      {"<write segment='1' data='AAAX'/>", "3:20", "other characters than hexadecimal"},
      {"<write segment='1' data='AAAA BBBB'/>", "3:20", "data holds blanks"},
      {"<write segment='1' data=''/>", "3:20", "data is empty"},
      {"<write segment='1' offset='2' data='AAAA'/>", "3:20", "offset is not used"},
      {"<write segment='1' data='" + Words(32) + "'/>", "3:20", "at most 31 words on a common tag, not 32"},
      {"<write segment='3' offset='31' data='AAAABBBB'/>", "3:20", "2 words from word 31 end past"},
      {"<write segment='3' offset='-1' data='AAAA'/>", "3:20", "before the bank"},
      {"<write segment='3' data='AAAA'/>", "3:1", "offset is missing: the write starts at word 0"},
      {"<write segment='0' offset='2' data='AAAA'/>", "3:8", "overwrites the kill password"},
      {"<write segment='2' offset='2' data='AAAA'/>", "3:8", "tags refuse"},
      {"<write segment='7' offset='2' data='AAAA'/>", "3:8", "there is no bank 7"},
      {"<lock lock_action='0xA82A0' password=''/>", "3:7", "\"0xA82A0\" is read as 0"},
      {"<lock lock_action='0' password=''/>", "3:7", "lock_action 0 has an empty mask"},
      {"<lock lock_action='1048576' password=''/>", "3:7", "does not fit into the 20 bits"},
      {"<lock lock_action='32801' password=''/>", "3:7", "action bits without a mask bit"},
      {"<lock password=''/>", "3:1", "lock_action is missing"},
      {"<lock block='true' lock_action='32800' password=''/>", "3:7", "\"true\" is no"},
      {"<lock startblock='1' lock_action='32800' password=''/>", "3:7", "only together with block"},
      {"<lock block='yes' startblock='7' blockcount='2' password=''/>", "3:19", "reach past"},
      {"<lock block='yes' startblock='0' password=''/>", "3:1", "blockcount is missing"},
      {"<unlock lock_action='32800'/>", "3:1", "password is missing"},
      {"<setpassword type='kill' password='12345678'/>", "3:14", "\"kill\" is read as 0"},
      {"<setpassword type='3' password='12345678'/>", "3:14", "type 3 sets the access password"},
      {"<setpassword type='1' password='1234567'/>", "3:23", "is not 8 hexadecimal digits"},
      {"<setpassword type='1' password='00000000'/>", "3:23", "take the tag's password away"},
      {"<killtag password=''/>", "3:10", "cannot be killed"},
      {"<killtag password='12345678'/><killtag password='12345678'/>", "3:31", "never answers"},
      {"<write segment='1' data='AAAA'><lock/></write>", "3:32", "inside an operation are ignored"},
      {"hello", "3:1", "text between the operations is ignored"},
      {"<printer port_type='1' port_address='B\xC3\xA9'/>", "3:24", "several characters"},
      {"<printer port_type='1' port_address='B' uhfEncodeMode_ReaderConnectPerCard='true'/>",
       "3:41", "only exactly \"1\" is on"},
  };
  for (const auto& test : kCases) {
    EXPECT_THAT(Check(Job(test.operation + "\n")).findings,
                testing::Contains(Finds(test.place, std::string(test.text))))
        << test.operation;
  }
}

TEST(JobCheck, FindsWhatIsWrongWithADocument) {
  const std::string printer = "<printer port_type='1' port_address='A'/>";
  std::string manySigns;
  for (int i = 0; i < 1001; ++i) manySigns += "<a>";
  const struct {
    std::string document;
    const char* place;
    const char* text;
    bool usable;
  } kCases[] = {
      {"", "1:1", "the job is empty", false},
      {" \n", "2:1", "not well-formed", false},
      {"hello", "1:1", "no <zsdk_job> element", false},
      {"<ZSDK_JOB/>", "1:1", "did you mean \"zsdk_job\"?", false},
      {"<zsdk_job>" + printer + "\n<write segm", "2:12", "breaks off", false},
      {"<zsdk_job>" + printer + "<write a='1' a='2'/></zsdk_job>", "1:65", "not well-formed",
       false},
      {"<zsdk_job>" + printer + std::string(1, '\0') + "</zsdk_job>", "1:52", "NUL byte", false},
      {"<zsdk_job>" + printer + "<write a=1>" + manySigns, "1:1", "too many tags", false},
      {"<zsdk_job>" + printer + "</zsdk_job>\n<zsdk_job/>", "2:1", "is not read", true},
      {"<zsdk_job/>", "1:1", "the job has no operation", true},
      {"<zsdk_job>\n<killtag password='12345678'/></zsdk_job>", "2:1", "before the first <printer>",
       true},
  };
  for (const auto& test : kCases) {
    const Tagwright::JobReport report = Check(test.document);
    EXPECT_THAT(report.findings, testing::Contains(Finds(test.place, std::string(test.text))))
        << test.document;
    EXPECT_EQ(report.IsUsable(), test.usable) << test.document;
  }
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
