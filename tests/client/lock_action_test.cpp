#include "client/check/lock_action.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(LockAction, IsComputedAndExplainedBothWays) {
  const struct {
    std::uint32_t payload;
    const char* terms;
    const char* text;
  } kCases[] = {
      {32800, "epc=lock", "locks the EPC bank"},
      {688800, "kill=lock,access=lock,epc=lock",
       "locks the kill password, locks the access password, locks the EPC bank"},
      {196800, "access=permalock", "permanently locks the access password"},
      {3073, "user=permaunlock", "permanently unlocks the User bank"},
      {8192, "tid=unlock", "unlocks the TID bank"},
      {1025, "user=keep", "makes permanent the present state of the User bank"},
      {0, "", "changes nothing"},
  };
  for (const auto& test : kCases) {
    EXPECT_EQ(Tagwright::LockActionTerms(test.payload), test.terms);
    EXPECT_EQ(Tagwright::DescribeLockAction(test.payload), test.text);
    if (test.payload == 0) continue;
    EXPECT_EQ(Tagwright::LockActionOf(test.terms), test.payload);
  }
  EXPECT_EQ(Tagwright::LockActionOf("EPC=Lock,ACCESS=permalock"), 229600U);
  EXPECT_EQ(Tagwright::DescribeUnlockAction(688800U | 3075U),
            "unlocks the kill password, unlocks the access password, unlocks the EPC bank, unlocks "
            "the User bank");
}

TEST(LockAction, NamesTheWordThatIsWrong) {
  const std::pair<const char*, const char*> cases[] = {
      {"ecp=lock", "\"ecp\" is no field of a lock action; did you mean \"epc\"?"},
      {"epc=locked", "\"locked\" is no lock state; did you mean \"lock\"?"},
      {"epc", "\"epc\" is not of the form FIELD=STATE"},
      {"epc=lock,epc=unlock", "a field is named twice"},
  };
  for (const auto& [terms, expected] : cases) {
    try {
      Tagwright::LockActionOf(terms);
      ADD_FAILURE() << terms;
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(std::string(error.what()), expected);
    }
  }
}

}  // namespace
