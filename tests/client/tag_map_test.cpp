#include "client/ctl/tag_map.h"

#include <gmock/gmock.h>

#include "simulator/printer/printers.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(TagMap, ShowsBanksAndLocksAndHidesPasswordsUnlessAsked) {
  Simulator::TagMemory memory = Simulator::Tag().Memory();
  memory.banks[0] = {0, 0, 0x0BAD, 0xCAFE};
  memory.banks[3][9] = 0x1234;
  memory.locks.Set(Simulator::LockField::kEpc, Simulator::LockState::kLocked);
  memory.permalockedBlocks[2] = true;
  const Simulator::Tag tag(memory);

  const std::string hidden = Ctl::DescribeTag(tag, false);
  EXPECT_THAT(hidden,
              AllOf(Not(HasSubstr("0BAD")),
                    HasSubstr("\n     0  **** ****  kill password, not set, unlocked\n"),
                    HasSubstr("\n     2  **** ****  access password, set, unlocked\n"),
                    HasSubstr("then the EPC; locked\n"), HasSubstr("permalocked blocks 2\n"),
                    HasSubstr("\n     8  0000 1234 0000"), Not(HasSubstr("killed"))));
  EXPECT_THAT(hidden, HasSubstr(" 0000 0000  |...4............|\n    16"));
  EXPECT_THAT(Ctl::DescribeTag(tag, true), HasSubstr("\n     2  0BAD CAFE  access password, set"));
}

TEST(TagMap, ShowsWhatHasChangedBelowItsBank) {
  const Simulator::Tag blank;
  Simulator::TagMemory memory = blank.Memory();
  memory.banks[0][3] = 0xCAFE;
  memory.banks[3][31] = 0x4142;
  memory.killed = true;
  const Simulator::Tag now(memory);
  EXPECT_EQ(Ctl::DescribeChanges(blank, blank, true), "");
  EXPECT_EQ(Ctl::DescribeChanges(blank, now, false),
            "+ killed: it never answers again\n"
            "  bank 0 Reserved\n"
            "-      2  **** ****  access password, not set, unlocked\n"
            "+      2  **** ****  access password, set, unlocked\n"
            "  bank 3 User: unlocked\n"
            "-     24  0000 0000 0000 0000 0000 0000 0000 0000  |................|\n"
            "+     24  0000 0000 0000 0000 0000 0000 0000 4142  |..............AB|");
  EXPECT_THAT(Ctl::DescribeChanges(now, blank, true), HasSubstr("- killed: it never answers"));
}

TEST(TagMap, ATagWithoutUserMemorySaysSo) {
  const Simulator::Tag tag(*Simulator::Printers::Load().FindKind("epc-only"));
  EXPECT_THAT(Ctl::DescribeTag(tag, false), testing::EndsWith("bank 3 User: the tag has none"));
}

}  // namespace
