#include "simulator/tag/printer_session.h"

#include <gmock/gmock.h>

#include "common/unique_name.h"
#include "simulator/tag/state_files.h"
#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

constexpr int kLockEpc = 0x08020;
constexpr int kLockAccessPassword = 0x20080;

class PrinterSessionTest : public testing::Test {
 protected:
  PrinterSessionTest() : _address(UniqueName(TEXT("USB:"))) {
    EXPECT_TRUE(_session.Connect(_address).Succeeded());
  }
  /// A new connection: whatever password was given is forgotten.
  void Reconnect() {
    EXPECT_TRUE(_session.Disconnect().Succeeded());
    EXPECT_TRUE(_session.Connect(_address).Succeeded());
  }
  static void ExpectDone(const Outcome& outcome) { EXPECT_EQ(outcome.refusal, ""); }
  static void ExpectRefusal(const Outcome& outcome, const char* reason) {
    EXPECT_THAT(outcome.refusal, testing::HasSubstr(reason));
  }

  WideText _address;
  PrinterSession _session;
};

TEST_F(PrinterSessionTest, ALockedBankOpensWithThePasswordOnly) {
  ExpectDone(_session.SetAccessPassword(TEXT("0BADCAFE")));
  ExpectDone(_session.LockTag(TEXT("0BADCAFE"), kLockEpc | kLockAccessPassword));
  ExpectDone(_session.WriteEpc(TEXT("1111")));
  Reconnect();
  ExpectRefusal(_session.WriteEpc(TEXT("2222")), "memory locked");
  ExpectRefusal(_session.SetAccessPassword(TEXT("00000001")), "memory locked");
  ExpectRefusal(_session.UnlockTag(TEXT("0BADCAFF"), kLockEpc), "wrong password");
  ExpectRefusal(_session.UnlockTag(TEXT(""), kLockEpc), "wrong password");
  ExpectDone(_session.UnlockTag(TEXT("0BADCAFE"), kLockEpc));
  ExpectDone(_session.WriteEpc(TEXT("2222")));
  ExpectRefusal(_session.PermalockUserBlock(TEXT("00000000"), 0, 1), "wrong password");
  ExpectRefusal(_session.SetAccessPassword(TEXT("00000001")), "memory locked");
  EXPECT_EQ(LoadTag(_address).Memory().locks.Of(LockField::kAccessPassword), LockState::kLocked);
}

TEST_F(PrinterSessionTest, AKilledTagNeverAnswersAgain) {
  ExpectDone(_session.SetKillPassword(TEXT("5EC0DE01")));
  ExpectRefusal(_session.KillTag(TEXT("5EC0DE02")), "wrong password");
  ExpectDone(_session.KillTag(TEXT("5EC0DE01")));
  Reconnect();
  ExpectRefusal(_session.WriteMemory(3, 0, TEXT("1111")), "no answer");
  ExpectRefusal(_session.LockTag(TEXT(""), kLockEpc), "no answer");
}

TEST_F(PrinterSessionTest, RefusesWhatMakesNoSense) {
  ExpectRefusal(_session.WriteEpc(TEXT("E2")), "whole words");
  ExpectRefusal(_session.WriteMemory(4, 0, TEXT("1111")), "no such memory");
  ExpectRefusal(_session.WriteMemory(3, -1, TEXT("1111")), "no such memory");
  ExpectRefusal(_session.SetKillPassword(TEXT("12345")), "8 hexadecimal digits");
  ExpectRefusal(_session.LockTag(TEXT(""), 0x100000), "20 bits");
  ExpectRefusal(_session.PermalockUserBlock(TEXT(""), 0, -1), "no such memory");
  ExpectDone(_session.Disconnect());
  ExpectRefusal(_session.WriteEpc(TEXT("1111")), "not connected");
  ExpectRefusal(_session.Disconnect(), "not connected");
  ExpectRefusal(_session.Connect(TEXT("")), "empty address");
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

TEST_F(PrinterSessionTest, ADamagedFileIsAnErrorAndIsKept) {
  ExpectDone(_session.WriteEpc(TEXT("1111")));
  const std::string good = ReadStateFile(TagFilePath(_address)).value();
  std::string shortBank = good;
  shortBank.replace(shortBank.find("\"reserved\": \"0000"), 17, "\"reserved\": \"");
  for (const std::string& bad : {std::string("{"), std::string("[]"), shortBank}) {
    ReplaceStateFile(TagFilePath(_address), bad);
    EXPECT_THROW(_session.WriteEpc(TEXT("2222")), std::runtime_error) << bad;
    EXPECT_EQ(ReadStateFile(TagFilePath(_address)), bad);
  }
}

TEST(TagFilePathTest, AddressesBecomeFileNames) {
  for (const auto& [address, ending] :
       {std::pair{TEXT("../192.168.1.20"), TEXT("\\simulator\\..%2F192.168.1.20.json")},
        {TEXT("\\\\.\\\u00E9 1"), TEXT("\\simulator\\%5C%5C.%5C%C3%A9%201.json")},
        {TEXT("faults"), TEXT("\\simulator\\%66aults.json")},
        {TEXT("Faults"), TEXT("\\simulator\\%46aults.json")}}) {
    EXPECT_TRUE(TagFilePath(address).ends_with(ending)) << ToUtf8(TagFilePath(address));
  }
}

}  // namespace
}  // namespace Simulator
