#include "simulator/tag/tag.h"

#include <gmock/gmock.h>

#include "simulator/tag/crc16.h"

namespace Simulator {
namespace {

Words Hex(std::string_view text) { return *ParseWords(text); }

TEST(Crc16, PublishedVectors) {
  EXPECT_EQ(Crc16("123456789"), 0xD64E);
  EXPECT_EQ(Crc16(std::string_view("\0\0", 2)), 0xE2F0);
  for (const auto& [pcAndEpc, crc] : {std::pair{"3000E2004216CB60601500951ED6", 0xB91F},
                                      {"400000000000000000000000000000000000", 0x41CB},
                                      {"100011223344", 0x3658},
                                      {"0000", 0xE2F0}}) {
    const Words words = Hex(pcAndEpc);
    EXPECT_EQ(Crc16(words.data(), words.size()), crc) << pcAndEpc;
  }
}

class TagTest : public testing::Test {
 protected:
  std::string EpcBankStart() const { return FormatWords(_tag.Memory().banks[1]).substr(0, 39); }
  TagAnswer Lock(int payload) { return _tag.Lock(*LockPayload::FromNumber(payload)); }

  Tag _tag;
};

TEST_F(TagTest, AnEpcBringsItsLengthAndCrc) {
  for (const auto& [epc, bankStart] :
       {std::pair{"E2004216CB60601500951ED6", "B91F 3000 E200 4216 CB60 6015 0095 1ED6"},
        {"11223344", "3658 1000 1122 3344 CB60 6015 0095 1ED6"}}) {
    EXPECT_EQ(_tag.WriteEpc(Hex(epc), true), TagAnswer::kDone);
    EXPECT_EQ(EpcBankStart(), bankStart);
  }
  ASSERT_EQ(_tag.Write(Bank::kEpc, 1, Hex("3000"), true), TagAnswer::kDone);
  EXPECT_EQ(_tag.EpcWords(), 6U) << "the PC word is the length";
  ASSERT_EQ(_tag.Write(Bank::kEpc, 1, Hex("0000"), true), TagAnswer::kDone);
  EXPECT_EQ(EpcBankStart().substr(0, 9), "E2F0 0000") << "an empty EPC";
  EXPECT_EQ(_tag.WriteEpc(Words(31, 0xFFFF), true), TagAnswer::kDone);
  EXPECT_EQ(_tag.EpcWords(), 31U);
  EXPECT_EQ(_tag.WriteEpc(Words(32, 0), true), TagAnswer::kNoSuchLocation);
  EXPECT_EQ(_tag.WriteEpc({}, true), TagAnswer::kNoData);
}

TEST_F(TagTest, WritesStayInsideTheBankAndOffFixedWords) {
  const struct {
    Bank bank;
    std::size_t offset;
    std::size_t words;
    TagAnswer answer;
  } cases[] = {
      {Bank::kUser, 0, 32, TagAnswer::kDone},
      {Bank::kUser, 31, 1, TagAnswer::kDone},
      {Bank::kUser, 31, 2, TagAnswer::kNoSuchLocation},
      {Bank::kUser, ~std::size_t{0}, 1, TagAnswer::kNoSuchLocation},
      {Bank::kUser, 0, 0, TagAnswer::kNoData},
      {Bank::kEpc, 0, 1, TagAnswer::kMemoryLocked},
      {Bank::kTid, 1, 2, TagAnswer::kMemoryLocked},
      {Bank::kTid, 2, 4, TagAnswer::kDone},
  };
  for (const auto& write : cases) {
    EXPECT_EQ(_tag.Write(write.bank, write.offset, Words(write.words, 0xFFFF), true), write.answer)
        << static_cast<int>(write.bank) << ":" << write.offset << "+" << write.words;
  }
}

}  // namespace
}  // namespace Simulator
