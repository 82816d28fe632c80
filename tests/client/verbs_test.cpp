#include "client/ctl/verbs.h"

#include <gmock/gmock.h>

#include "client/ctl/failure.h"
#include "client/ctl/request.h"

namespace {

using Ctl::ExitCode;
using Ctl::Operand;
using testing::ElementsAre;

MATCHER_P3(IsVerb, type, kind, operand, "") {
  return arg.messageType == static_cast<std::uint32_t>(type) && arg.kind == kind &&
         arg.operand == operand;
}

/// The code of the Failure that `action` throws, kSuccess when it throws none.
template <class Action>
ExitCode CodeOf(Action action) {
  try {
    action();
  } catch (const Ctl::Failure& failure) {
    return failure.Code();
  }
  return ExitCode::kSuccess;
}

std::vector<Ctl::Verb> Parse(std::string_view line) {
  return Ctl::ParseVerbs(Ctl::SplitWords(line));
}

TEST(Verbs, AreReadInOrderWithTheirOperands) {
  EXPECT_THAT(
      Parse("encode a.xml encode-and-shutdown shutdown keep-alive add-encoder keep-alive"),
      ElementsAre(IsVerb(0x200, Operand::kJobFile, "a.xml"),
                  IsVerb(0x201, Operand::kJobFile, "shutdown"), IsVerb(0x302, Operand::kNone, ""),
                  IsVerb(0x300, Operand::kPipeName, "keep-alive")));
  EXPECT_THAT(Parse("raw 769 shutdown raw 0x301 ./shutdown raw 0XFFFFFFFF"),
              ElementsAre(IsVerb(769, Operand::kNone, ""), IsVerb(0x100, Operand::kNone, ""),
                          IsVerb(0x301, Operand::kFile, "./shutdown"),
                          IsVerb(0xFFFFFFFF, Operand::kNone, "")));
}

TEST(Verbs, SplitALineAtBlanksOutsideQuotes) {
  EXPECT_THAT(Ctl::SplitWords("  encode\t\"C:\\my jobs\\a.xml\" \"\" a\"b c\"d \r"),
              ElementsAre("encode", "C:\\my jobs\\a.xml", "", "ab cd"));
}

TEST(Verbs, RefuseWhatTheyDoNotUnderstand) {
  for (const char* line : {"encode", "raw", "ENCODE a.xml", "shutdown a.xml", "raw 12x", "raw -1",
                           "raw 0x", "raw 4294967296", "encode \"a.xml"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(CodeOf([line] { Parse(line); }), ExitCode::kUsage);
  }
}

std::string PayloadOf(std::string_view line) {
  const Ctl::Request request = Ctl::LoadRequest(Parse(line).at(0));
  return {request.payload.Bytes().begin(), request.payload.Bytes().end()};
}

TEST(Request, CarriesAPipeNameInTheAnsiCodePageWithANul) {
  EXPECT_EQ(PayloadOf("add-encoder \"Caf\xC3\xA9 1\""), std::string("Caf\xE9 1\0", 7));
  EXPECT_EQ(PayloadOf("add-encoder \"\""), std::string(1, '\0'));
  EXPECT_EQ(CodeOf([] { PayloadOf("add-encoder \xE6\xBC\xA2"); }), ExitCode::kUsage);
  EXPECT_EQ(CodeOf([] { PayloadOf("encode no/such/job.xml"); }), ExitCode::kLocal);
}

}  // namespace
