#include "simulator/tag/tag.h"

#include <gmock/gmock.h>

#include "simulator/tag/crc16.h"

namespace Simulator {
namespace {

Words Hex(std::string_view text) { return *ParseWords(text); }

class TagTest : public testing::Test {
 protected:
  std::string Bank(Bank bank) const {
    return FormatWords(_tag.Memory().banks[static_cast<std::size_t>(bank)]);
  }
  std::string EpcBankStart() const { return Bank(Bank::kEpc).substr(0, 39); }
  TagAnswer Lock(int payload) { return _tag.Lock(*LockPayload::FromNumber(payload)); }

  Tag _tag;
};

TEST(Crc16Test, KnownVectors) {
  const struct {
    const char* words;
    Word crc;
  } cases[] = {
      {"3000 E200 4216 CB60 6015 0095 1ED6", 0xB91F},
      {"4000 0000 0000 0000 0000 0000 0000 0000 0000", 0x41CB},
      {"1000 1122 3344", 0x3658},
      {"0000", 0xE2F0},
  };
  for (const auto& expected : cases) {
    const Words words = Hex(expected.words);
    EXPECT_EQ(Crc16(words.data(), words.size()), expected.crc) << expected.words;
  }
}

TEST_F(TagTest, AnEpcBringsItsLengthAndCrc) {
  const struct {
    const char* epc;
    const char* bankStart;
  } cases[] = {
      {"E2004216CB60601500951ED6", "B91F 3000 E200 4216 CB60 6015 0095 1ED6"},
      {"11223344", "3658 1000 1122 3344 CB60 6015 0095 1ED6"},
  };
  for (const auto& expected : cases) {
    EXPECT_EQ(_tag.WriteEpc(Hex(expected.epc), true), TagAnswer::kDone);
    EXPECT_EQ(EpcBankStart(), expected.bankStart);
  }
  ASSERT_EQ(_tag.Write(Bank::kEpc, 1, Hex("3000"), true), TagAnswer::kDone);
  EXPECT_EQ(_tag.EpcWords(), 6U) << "the PC word is the length";
  EXPECT_EQ(_tag.WriteEpc(Words(31, 0xFFFF), true), TagAnswer::kDone);
  EXPECT_EQ(_tag.EpcWords(), 31U);
  EXPECT_EQ(_tag.WriteEpc(Words(32, 0), true), TagAnswer::kNoSuchLocation);
  EXPECT_EQ(_tag.WriteEpc({}, true), TagAnswer::kNoSuchLocation);
}

TEST_F(TagTest, WritesStayInsideTheBankAndOffFixedWords) {
  const struct {
    Simulator::Bank bank;
    std::size_t offset;
    std::size_t words;
    TagAnswer answer;
  } cases[] = {
      {Bank::kUser, 0, 32, TagAnswer::kDone},
      {Bank::kUser, 31, 1, TagAnswer::kDone},
      {Bank::kUser, 31, 2, TagAnswer::kNoSuchLocation},
      {Bank::kUser, ~std::size_t{0}, 1, TagAnswer::kNoSuchLocation},
      {Bank::kUser, 0, 0, TagAnswer::kNoSuchLocation},
      {Bank::kEpc, 0, 1, TagAnswer::kMemoryLocked},
      {Bank::kTid, 1, 2, TagAnswer::kMemoryLocked},
      {Bank::kTid, 2, 4, TagAnswer::kDone},
  };
  for (const auto& write : cases) {
    EXPECT_EQ(_tag.Write(write.bank, write.offset, Words(write.words, 0xABCD), true), write.answer)
        << static_cast<int>(write.bank) << ":" << write.offset << "+" << write.words;
  }
}

TEST_F(TagTest, LockStatesDecideAboutWrites) {
  const struct {
    LockState state;
    TagAnswer open, secured;
  } cases[] = {
      {LockState::kUnlocked, TagAnswer::kDone, TagAnswer::kDone},
      {LockState::kUnlockedForever, TagAnswer::kDone, TagAnswer::kDone},
      {LockState::kLocked, TagAnswer::kMemoryLocked, TagAnswer::kDone},
      {LockState::kLockedForever, TagAnswer::kMemoryLocked, TagAnswer::kMemoryLocked},
  };
  for (const auto& expected : cases) {
    TagMemory memory = Tag().Memory();
    for (int field = 0; field < kLockFieldCount; ++field) {
      memory.locks.Set(static_cast<LockField>(field), expected.state);
    }
    for (const bool secured : {false, true}) {
      Tag tag(memory);
      const TagAnswer answer = secured ? expected.secured : expected.open;
      EXPECT_EQ(tag.WriteEpc({1}, secured), answer);
      EXPECT_EQ(tag.Write(Bank::kUser, 0, {1}, secured), answer);
      EXPECT_EQ(tag.Write(Bank::kTid, 2, {1}, secured), answer);
      EXPECT_EQ(tag.SetAccessPassword(1, secured), answer);
      EXPECT_EQ(tag.SetKillPassword(1, secured), answer);
    }
  }
}

TEST_F(TagTest, LockPayloads) {
  const struct {
    int payload;
    LockField field;
    LockState state;
  } cases[] = {
      {0x020080, LockField::kAccessPassword, LockState::kLocked},
      {0x0300C0, LockField::kAccessPassword, LockState::kLockedForever},
      {0x00C030, LockField::kEpc, LockState::kLockedForever},
      {0x000C03, LockField::kUser, LockState::kLockedForever},
  };
  for (const auto& expected : cases) {
    EXPECT_EQ(Lock(expected.payload), TagAnswer::kDone);
    EXPECT_EQ(_tag.Memory().locks.Of(expected.field), expected.state);
  }
  EXPECT_EQ(_tag.Memory().locks.Of(LockField::kKillPassword), LockState::kUnlocked);
  EXPECT_EQ(Lock(0x020000), TagAnswer::kRefused) << "a permanent lock stays";
  EXPECT_EQ(Lock(0x080000 | 0x000C00), TagAnswer::kRefused) << "nothing of a refused lock counts";
  EXPECT_EQ(Lock(0xFFFFF), TagAnswer::kDone);
  EXPECT_EQ(_tag.Memory().locks.Of(LockField::kKillPassword), LockState::kLockedForever);
  EXPECT_FALSE(LockPayload::FromNumber(0x100000));
  EXPECT_FALSE(LockPayload::FromNumber(-1));
}

TEST_F(TagTest, PermalockedBlocksAreReadOnlyForEver) {
  EXPECT_EQ(_tag.PermalockUserBlocks(1, 2), TagAnswer::kDone);
  EXPECT_EQ(_tag.Write(Bank::kUser, 0, Words(4, 1), true), TagAnswer::kDone);
  EXPECT_EQ(_tag.Write(Bank::kUser, 3, Words(2, 1), true), TagAnswer::kMemoryLocked);
  EXPECT_EQ(_tag.Write(Bank::kUser, 11, {1}, true), TagAnswer::kMemoryLocked);
  EXPECT_EQ(_tag.Write(Bank::kUser, 12, {1}, true), TagAnswer::kDone);
  EXPECT_EQ(_tag.PermalockUserBlocks(7, 2), TagAnswer::kNoSuchLocation);
  EXPECT_EQ(_tag.PermalockUserBlocks(0xFFFFFFFF, 1), TagAnswer::kNoSuchLocation);
}

TEST_F(TagTest, KillNeedsItsPassword) {
  EXPECT_EQ(_tag.Kill(0), TagAnswer::kWrongPassword) << "none is set";
  ASSERT_EQ(_tag.SetKillPassword(0xDEADBEEF, true), TagAnswer::kDone);
  EXPECT_EQ(_tag.Kill(0xDEADBEEE), TagAnswer::kWrongPassword);
  EXPECT_FALSE(_tag.IsKilled());
  EXPECT_EQ(_tag.Kill(0xDEADBEEF), TagAnswer::kDone);
  EXPECT_TRUE(_tag.IsKilled());
}

TEST(WordsTest, OnlyWholeWordsOfHexadecimalDigits) {
  for (const char* bad : {"E", "E20", "E20 0", "E2004", "G000", "E2-0", "0x12"}) {
    EXPECT_FALSE(ParseWords(std::string_view(bad))) << bad;
  }
  EXPECT_EQ(FormatWords(Hex("e200 42aB")), "E200 42AB");
  EXPECT_EQ(ParsePassword(TEXT("0BADCAFE")), 0x0BADCAFEU);
  EXPECT_EQ(ParsePassword(TEXT("")), 0U);
  EXPECT_FALSE(ParsePassword(TEXT("1234")));
}

}  // namespace
}  // namespace Simulator
