#include "client/ctl/tag_map.h"

#include <gmock/gmock.h>

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
  EXPECT_THAT(Ctl::DescribeTag(tag, true), HasSubstr("\n     2  0BAD CAFE  access password, set"));
}

}  // namespace
