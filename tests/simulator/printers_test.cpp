#include "simulator/printer/printers.h"

#include "simulator/state_fixture.h"

namespace Simulator {
namespace {

class PrintersTest : public StateTest {};

TEST_F(PrintersTest, WithoutAFileEveryAddressButNoneIsAPrinter) {
  const Printers printers = Printers::Load();
  EXPECT_EQ(printers.KindAt(TEXT("anything"))->name, "standard");
  EXPECT_EQ(printers.KindAt(TEXT("")), nullptr);
  EXPECT_EQ(printers.FindKind("epc-only")->userWords, 0U);
}

TEST_F(PrintersTest, AFileNamesThePrintersAndTheirKinds) {
  Write("printers.json", R"({
    "kinds": {"small": {"epc_bank_words": 8, "user_words": 6, "user_block_words": 2,
                        "tid": "E280 1234 0001"}},
    "printers": {"USB001": "standard", "USB002": "small"}})");
  const Printers printers = Printers::Load();
  EXPECT_EQ(printers.KindAt(TEXT("USB001"))->name, "standard");
  EXPECT_EQ(printers.KindAt(TEXT("USB003")), nullptr);
  const TagKind* const small = printers.KindAt(TEXT("USB002"));
  EXPECT_EQ(small->tid, Words({0xE280, 0x1234, 0x0001}));
  EXPECT_EQ(small->epcBankWords, 8U);
  EXPECT_EQ(small->userWords, 6U);
  EXPECT_EQ(small->userBlockWords, 2U);
}

TEST_F(PrintersTest, WhatCannotBeUnderstoodIsAnError) {
  const struct {
    const char* file;
    std::string problem;
  } cases[] = {
      {"{}", "[json.exception.out_of_range.403] key 'printers' not found"},
      {R"({"printer": {}})", "it has the objects \"kinds\" and \"printers\" alone"},
      {R"({"printers": {"USB001": "smal"}})", "there is no kind \"smal\""},
      {R"({"kinds": {"a": {"banks": 4}}, "printers": {}})", "a kind has no \"banks\""},
      {R"({"kinds": {"standard": {}}, "printers": {}})", "there is a kind \"standard\""},
      {R"({"kinds": {"a": {"epc_bank_words": 2}}, "printers": {}})",
       "kind \"a\": an EPC bank has 3 to 33 words"},
      {R"({"kinds": {"a": {"epc_bank_words": 34}}, "printers": {}})",
       "kind \"a\": an EPC bank has 3 to 33 words"},
      {R"({"kinds": {"a": {"tid": "E200"}}, "printers": {}})",
       "kind \"a\": a TID has 2 to 4096 words"},
      {R"({"kinds": {"a": {"tid": "1200 0000"}}, "printers": {}})",
       "kind \"a\": a TID begins with E2 or E0"},
      {R"({"kinds": {"a": {"tid": "E2"}}, "printers": {}})",
       "a TID is made of words of four hexadecimal digits"},
      {R"({"kinds": {"a": {"user_words": 4097}}, "printers": {}})",
       "kind \"a\": a User bank has 0 to 4096 words"},
      {R"({"kinds": {"a": {"user_block_words": 0}}, "printers": {}})",
       "kind \"a\": a block has at least one word"},
  };
  for (const auto& expected : cases) {
    Write("printers.json", expected.file);
    EXPECT_EQ(ProblemOf([] { Printers::Load(); }), "printers.json: " + expected.problem);
  }
}

}  // namespace
}  // namespace Simulator
