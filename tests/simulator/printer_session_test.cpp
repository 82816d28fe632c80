#include "simulator/printer/printer_session.h"

#include "common/unique_name.h"
#include "simulator/state_fixture.h"
#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

class PrinterSessionTest : public StateTest {
 protected:
  PrinterSessionTest() : _address(UniqueName(TEXT("USB:"))) {
    EXPECT_EQ(Connect(_address).remark, "the port address is new; a blank tag lies in its printer");
  }
  ~PrinterSessionTest() override { DeleteFileW(TagFilePath(_address).c_str()); }

  Outcome Connect(WideView address) {
    _session.Approach(address, false);
    return _session.Connect();
  }
  /// A new connection: whatever password was given is forgotten.
  void Reconnect() {
    EXPECT_TRUE(_session.Disconnect().Succeeded());
    const Outcome again = Connect(_address);
    EXPECT_TRUE(again.Succeeded() && again.remark.empty());
  }
  std::string UserStart() const {
    return FormatWords(LoadTag(_address).Memory().Of(Bank::kUser)).substr(0, 19);
  }
  static void ExpectDone(const Outcome& outcome) { EXPECT_EQ(outcome.refusal, ""); }
  static void ExpectRefusal(const Outcome& outcome, const char* reason) {
    EXPECT_EQ(outcome.refusal, reason);
  }

  WideText _address;
  PrinterSession _session;
};

TEST_F(PrinterSessionTest, ThePcWordIsTheLengthOfTheEpc) {
  ExpectDone(_session.WriteEpc(TEXT("11112222")));
  ExpectDone(_session.WriteMemory(1, 1, TEXT("1800")));
  EXPECT_EQ(FormatWords(LoadTag(_address).Epc()), "1111 2222 0000");
  ExpectDone(_session.WriteMemory(1, 1, TEXT("0000")));
  EXPECT_EQ(FormatWords(LoadTag(_address).Memory().Of(Bank::kEpc)).substr(0, 14), "E2F0 0000 1111");
  ExpectRefusal(_session.WriteMemory(1, 0, TEXT("1111")), "memory locked");
}

TEST_F(PrinterSessionTest, FieldFaultsLeaveWhatARealTagWouldHold) {
  ExpectDone(_session.WriteMemory(3, 0, TEXT("1111222233334444")));
  _session.InterruptNextWrite(1, false);
  ExpectRefusal(_session.WriteMemory(3, 0, TEXT("AAAABBBBCCCCDDDD")),
                "insufficient power: the write stopped part-way");
  EXPECT_EQ(UserStart(), "AAAA 2222 3333 4444");
  _session.InterruptNextWrite(std::nullopt, true);
  ExpectRefusal(_session.WriteMemory(3, 0, TEXT("EEEEFFFF99998888")),
                "insufficient power: the write stopped part-way");
  EXPECT_EQ(UserStart(), "EEEE FFFF 0000 4444");
  _session.InterruptNextWrite(7, false);
  ExpectRefusal(_session.WriteMemory(3, 3, TEXT("7777")),
                "insufficient power: the write stopped part-way");
  EXPECT_EQ(UserStart(), "EEEE FFFF 0000 4444") << "the last word is never written";
  ExpectDone(_session.WriteMemory(3, 3, TEXT("7777")));
  _session.TakeTagAway();
  ExpectRefusal(_session.WriteEpc(TEXT("1111")), "no answer from the tag");
  ExpectRefusal(_session.SetKillPassword(TEXT("12345678")), "no answer from the tag");
  Reconnect();
  ExpectDone(_session.WriteEpc(TEXT("1111")));
}

TEST_F(PrinterSessionTest, TheTagsFileIsReadableAndComplete) {
  ExpectDone(_session.WriteEpc(TEXT("E2004216CB60601500951ED6")));
  ExpectDone(_session.PermalockUserBlock(TEXT(""), 2, 1));
  ExpectDone(_session.LockTag(TEXT(""), 0x00C030));
  const std::string text = ReadStateFile(TagFilePath(_address)).value();
  for (const char* expected :
       {R"("crc": "B91F")", R"("pc": "3000")", R"("epc": "E200 4216 CB60 6015 0095 1ED6")",
        R"("epc": "locked-forever")", R"("reserved": "0000 0000 0000 0000")",
        R"("killed": false)"}) {
    EXPECT_THAT(text, testing::HasSubstr(expected));
  }
  const Tag loaded = LoadTag(_address);
  SaveTag(_address, loaded);
  EXPECT_EQ(ReadStateFile(TagFilePath(_address)), text) << "nothing is lost on the way back";
}

TEST_F(PrinterSessionTest, ThePrintersKindDecidesAboutItsTags) {
  Write("printers.json", R"({"kinds": {"small": {"epc_bank_words": 4, "user_words": 3,
                                                 "user_block_words": 2, "tid": "E2801234"}},
                             "printers": {"SMALL": "small"}})");
  ASSERT_TRUE(Connect(TEXT("SMALL")).Succeeded());
  EXPECT_EQ(LoadTag(TEXT("SMALL")).EpcWords(), 2U) << "as much of 96 bits as there is room for";
  ExpectDone(_session.WriteEpc(TEXT("11112222")));
  ExpectRefusal(_session.WriteEpc(TEXT("111122223333")), "no such memory location");
  ExpectRefusal(_session.WriteMemory(1, 1, TEXT("1800")), "no such memory location");
  ExpectRefusal(_session.WriteMemory(3, 3, TEXT("1111")), "no such memory location");
  ExpectDone(_session.PermalockUserBlock(TEXT(""), 1, 1));
  ExpectRefusal(_session.PermalockUserBlock(TEXT(""), 2, 1), "no such memory location");
  ExpectRefusal(_session.WriteMemory(3, 2, TEXT("1111")), "memory locked");
  ExpectDone(_session.WriteMemory(3, 1, TEXT("1111")));
  const std::string text = ReadStateFile(TagFilePath(TEXT("SMALL"))).value();
  EXPECT_EQ(TagText(TEXT("SMALL"), TagFromText(text), true) + "\n", text);
  DeleteFileW(TagFilePath(TEXT("SMALL")).c_str());
}

TEST_F(PrinterSessionTest, ADamagedFileIsAnErrorAndIsKept) {
  ExpectDone(_session.WriteEpc(TEXT("1111")));
  const std::string good = ReadStateFile(TagFilePath(_address)).value();
  std::string shortBank = good;
  shortBank.replace(shortBank.find("\"reserved\": \"0000"), 17, "\"reserved\": \"");
  std::string longEpc = good;
  longEpc.replace(longEpc.find(" 0800 1111"), 5, " F800");
  longEpc.replace(longEpc.rfind(" 0000\",\n    \"tid\""), 5, "");
  for (const std::string& bad : {std::string("{"), std::string("[]"), shortBank, longEpc}) {
    ReplaceStateFile(TagFilePath(_address), bad);
    EXPECT_THROW(_session.WriteEpc(TEXT("2222")), std::runtime_error) << bad;
    EXPECT_EQ(ReadStateFile(TagFilePath(_address)), bad);
  }
}

TEST_F(PrinterSessionTest, TheStoreKnowsTheAddressesThatHaveTags) {
  SaveTag(TEXT("\u00E9 1"), Tag());
  EXPECT_THAT(AddressesWithTags(), testing::ElementsAre(_address, TEXT("\u00E9 1")));
  DeleteFileW(TagFilePath(TEXT("\u00E9 1")).c_str());
  EXPECT_THAT(AddressesWithTags(), testing::ElementsAre(_address));
  EXPECT_FALSE(FindTag(TEXT("\u00E9 1")));
}

TEST(TagFilePathTest, AddressesBecomeFileNames) {
  for (const auto& [address, ending] :
       {std::pair{TEXT("../192.168.1.20"), TEXT("\\simulator\\..%2F192.168.1.20.json")},
        {TEXT("\\\\.\\\u00E9 1"), TEXT("\\simulator\\%5C%5C.%5C%C3%A9%201.json")},
        {TEXT("faults"), TEXT("\\simulator\\%66aults.json")},
        {TEXT("Faults"), TEXT("\\simulator\\%46aults.json")},
        {TEXT("printers"), TEXT("\\simulator\\%70rinters.json")}}) {
    EXPECT_TRUE(TagFilePath(address).ends_with(ending)) << ToUtf8(TagFilePath(address));
  }
}

}  // namespace
}  // namespace Simulator
