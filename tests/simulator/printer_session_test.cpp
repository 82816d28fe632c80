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
  Write("printers.json",
        R"({"kinds": {"small": {"epc_bank_words": 4}}, "printers": {"SMALL": "small"}})");
  ExpectDone(Connect(TEXT("SMALL")));
  ExpectRefusal(_session.WriteMemory(1, 1, TEXT("1800")), "no such memory location");
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

}  // namespace
}  // namespace Simulator
