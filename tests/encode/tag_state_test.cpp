/// Jobs, and the state in which a tag ends by the rules of the air interface.
#include "encode/encode_fixture.h"

namespace {

using Simulator::LockField;

/// "<EPC bank up to the EPC's end> <reserved> <pairs of kill, access, EPC, TID, User><blocks>".
std::string StateOf(const Simulator::Tag& tag) {
  const auto& memory = tag.Memory();
  const auto& epc = memory.Of(Simulator::Bank::kEpc);
  const auto end = epc.begin() + static_cast<std::ptrdiff_t>(2 + tag.EpcWords());
  std::string state = Simulator::FormatWords({epc.begin(), end}) + " / " +
                      Simulator::FormatWords(memory.Of(Simulator::Bank::kReserved)) + " / ";
  for (int field = Simulator::kLockFieldCount - 1; field >= 0; --field) {
    state += std::to_string(static_cast<int>(memory.locks.Of(static_cast<LockField>(field))));
  }
  for (std::size_t block = 0; block < memory.permalockedBlocks.size(); ++block) {
    if (memory.permalockedBlocks[block]) state += " " + std::to_string(block);
  }
  return state + (tag.IsKilled() ? " killed" : "");
}

class TagStateTest : public EncodeTest {
 protected:
  /// Runs the jobs one after another on one tag; the printer element is added to each.
  static std::string After(const std::vector<std::string>& jobs) {
    Simulator::SaveTag(TEXT("TEST1"), Simulator::Tag());
    std::string results;
    for (const std::string& job : jobs) results += RunOperations(kPrinter + job) ? '+' : '-';
    return results + " " + StateOf(Simulator::LoadTag(TEXT("TEST1")));
  }
};

const std::string kBlankEpc = "0DAD 3000 0000 0000 0000 0000 0000 0000";
const std::string kNoPasswords = "0000 0000 0000 0000";
const std::string kAccess = "<setpassword type='2' password='0BADCAFE'/>";
const std::string kKill = "<setpassword type='1' password='5EC0DE01'/>";
const std::string kWrite1111 = "<write segment='1' data='1111'/>";

std::string Lock(int action, const std::string& password = "") {
  return "<lock lock_action='" + std::to_string(action) + "' password='" + password + "'/>";
}

TEST_F(TagStateTest, LockPayloads) {
  for (const auto& [action, pairs] : {std::pair{0x020080, "02000"},
                                      {0x0300C0, "03000"},
                                      {0x000C03, "00003"},
                                      {0xFFFFF, "33333"},
                                      {0xA82A0, "22200"},
                                      {0xFFC00, "00000"}}) {
    EXPECT_EQ(After({Lock(action)}), "+ " + kBlankEpc + " / " + kNoPasswords + " / " + pairs);
  }
}

TEST_F(TagStateTest, ALockedBankNeedsThePasswordInTheSameConnection) {
  const std::string locked = kAccess + Lock(0x08020, "0BADCAFE");
  const std::string lockedState = kBlankEpc + " / 0000 0000 0BAD CAFE / 00200";
  const std::string write = "<write segment='1' data='11223344'/>";
  EXPECT_EQ(After({locked, write}), "+- " + lockedState);
  EXPECT_EQ(After({locked, Lock(0x08020, "0BADCAFF") + write}), "+- " + lockedState);
  EXPECT_EQ(After({locked, Lock(0x08020, "0BADCAFE") + write}),
            "++ 3658 1000 1122 3344 / 0000 0000 0BAD CAFE / 00200");
  EXPECT_EQ(After({locked, "<unlock lock_action='32800' password='0BADCAFE'/>", write}),
            "+++ 3658 1000 1122 3344 / 0000 0000 0BAD CAFE / 00000");
  EXPECT_EQ(After({"<write segment='1' data='11223344'/>" + Lock(0x0C030), kWrite1111}),
            "+- 3658 1000 1122 3344 / 0000 0000 0000 0000 / 00300")
      << "a permanent lock holds in the secured state as well";
}

TEST_F(TagStateTest, PermanentStatesStay) {
  EXPECT_EQ(After({Lock(0x0C030), "<unlock lock_action='49200'/>", Lock(0x80200 | 0x0C000)}),
            "+-- " + kBlankEpc + " / " + kNoPasswords + " / 00300");
  EXPECT_EQ(After({Lock(0x04010), Lock(0x08020)}),
            "+- " + kBlankEpc + " / " + kNoPasswords + " / 00100")
      << "writable for ever";
  EXPECT_EQ(After({"<lock block='yes' startblock='1' blockcount='2'/>",
                   "<write segment='3' offset='12' data='1111'/>",
                   "<write segment='3' offset='11' data='11112222'/>"}),
            "++- " + kBlankEpc + " / " + kNoPasswords + " / 00000 1 2");
}

TEST_F(TagStateTest, OnlyTheKillPasswordKills) {
  const std::string kill = "<killtag password='5EC0DE01'/>";
  const std::string passwords = " / 5EC0 DE01 0BAD CAFE / 00000";
  EXPECT_EQ(After({kKill + kAccess, "<killtag password='0BADCAFE'/>"}),
            "+- " + kBlankEpc + passwords);
  EXPECT_EQ(After({kKill + kAccess, kill, kWrite1111, ""}),
            "++-+ " + kBlankEpc + passwords + " killed")
      << "the printer connects whatever lies in it";
}

TEST_F(TagStateTest, AFaultLeavesAHalfWrittenTag) {
  const std::string write = "<write segment='3' data='111122223333'/>";
  const auto user = [] {
    const auto tag = Simulator::LoadTag(TEXT("TEST1"));
    return Simulator::FormatWords(tag.Memory().Of(Simulator::Bank::kUser)).substr(0, 14);
  };
  Script("WriteUserMemory", "partial-write");
  EXPECT_THAT(After({write + kWrite1111}), testing::StartsWith("- 0DAD"));
  EXPECT_EQ(user(), "1111 0000 0000");
  EXPECT_TRUE(_componentLog->Mentions("insufficient power"));
  Script("SetKillPassword", "erased-word");
  EXPECT_THAT(After({kKill}), testing::HasSubstr(" / 5EC0 0000 0000 0000 / "));
  Script("LockTag", "tag-leaves");
  EXPECT_EQ(After({kAccess + Lock(0x08020, "0BADCAFE") + kWrite1111, kWrite1111}).substr(0, 7),
            "-+ CCAE")
      << "the next connection finds a tag again";
}

TEST_F(TagStateTest, AnErrorInTheFaultScriptRefusesEveryConnection) {
  Script("WriteEpc", "false");
  EXPECT_FALSE(RunOperations(kPrinter));
  EXPECT_TRUE(
      _componentLog->Has("Connect: port type = 1, connect per card = 0, faults.json: no "
                         "such member: WriteEpc"));
  EXPECT_FALSE(RunOperations(kWrite1111));
  EXPECT_TRUE(_componentLog->Has("WriteEPC: characters = 4, not connected"));
}

}  // namespace
