#include "encode/encode_fixture.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

const std::string kMade = "ZebraSDK=true ";
const std::string kOpened = kMade + "TestManagedCodeAccessible=true InitLogging=true ";

TEST_F(EncodeTest, NoValueOfAJobReachesALog) {
  EXPECT_FALSE(RunOperations(std::string(kPrinter) +
                             "<write segment='3' data='FEED'/><setpassword password='0BADCAFE'/>"
                             "<killtag password='0BADCAFF'/>"));
  for (const char* value : {"FEED", "BADCAF", "TEST1"}) {
    EXPECT_FALSE(_log.Mentions(value)) << value;
    EXPECT_FALSE(_componentLog->Mentions(value)) << value;
  }
  EXPECT_TRUE(_componentLog->Has("ZebraSDK::KillTag: the tag has no kill password"));
}

TEST_F(EncodeTest, EveryElementHasItsCallAndItsLine) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"<write segment='1' data='1111'/>", "write WMB_EPC", "WriteEPC"},
      {"<WRITE segment='3' data='1111'/>", "write WMB_User", "WriteUserMemory"},
      {"<write segment='7' data='1111'/>", "write memory", "WriteMemory"},
      {"<Lock lock_action='1'/>", "lock", "LockTag"},
      {"<lock block='Yes' blockcount='1'/>", "lock", "PermalockUserBlock"},
      {"<unlock lock_action='1'/>", "unlock", "UnlockTag"},
      {"<setpassword type='01'/>", "setpassword KillPassword", "SetKillPassword"},
      {"<setpassword type='2'/>", "setpassword generic", "SetAccessPassword"},
      {"<killTag/>", "killtag", "KillTag"},
  };
  for (const auto& [element, line, member] : cases) {
    // Without a printer element the operation is tried all the same.
    EXPECT_FALSE(RunOperations(element)) << element;
    EXPECT_EQ(TakeCalls(), kMade + member + "=false Dispose=true");
    EXPECT_THAT(_log.Texts(), Contains("DetailInfo: ZXP7EpcGen2Encode::ParseNextElement " + line));
  }
}

TEST_F(EncodeTest, DocumentsDecideWhatIsExecuted) {
  const std::string printer = kPrinter;
  const std::string write = "<write segment='3' data='1111'/>";
  std::string manyAttributes, deepNesting;
  for (int i = 0; i < 101; ++i) manyAttributes += " a" + std::to_string(i) + "=''";
  while (deepNesting.size() < 1000000) deepNesting += "<a>";
  // The document, its result, whether it is told as invalid XML, and the calls.
  const std::tuple<std::string, bool, bool, std::string> cases[] = {
      {"<other/><zsdk_job></zsdk_job>", true, false, kMade},
      {"<ZSDK_JOB>" + write + "</ZSDK_JOB>", false, false, kMade},
      {"<job><zsdk_job>" + write + "</zsdk_job></job>", false, false, kMade},
      {"not XML at all", false, true, kMade},
      {"<zsdk_job" + manyAttributes + "/>", false, true, kMade},
      {std::string("<zsdk_job/>\0<<", 14), true, false, kMade},
      {deepNesting, false, true, kMade},
      {"<zsdk_job>" + printer + "<!-- no -->text" + write, true, true,
       kOpened + "Connect=true WriteUserMemory=true Disconnect=true "},
      {"<zsdk_job>" + printer + "<erase/>" + write + "</zsdk_job>", false, false,
       kOpened + "Connect=true Disconnect=true "},
      {"<zsdk_job>" + printer + "<write segment='1' data='XYZ'/><lock/></zsdk_job>", false, false,
       kOpened + "Connect=true WriteEPC=false Disconnect=true "},
      // What failed to connect is not disconnected.
      {"<zsdk_job>" + printer + "<printer port_address=''/></zsdk_job>", false, false,
       kOpened + "Connect=true " + kOpened.substr(kMade.size()) + "Connect=false "},
  };
  for (const auto& [document, result, isInvalid, calls] : cases) {
    SCOPED_TRACE(document.substr(0, 100));
    _log.Clear();
    EXPECT_EQ(RunDocument(document), result);
    EXPECT_EQ(_log.Has("ZXP7EpcGen2Encode::ZXP7EpcGen2Encode    Invalid XML"), isInvalid);
    EXPECT_EQ(TakeCalls(), calls + "Dispose=true");
  }
  const unsigned char blank = ' ';
  EXPECT_TRUE(ZXP7EpcGen2Encode(nullptr, 1).ParseAndExecuteXML());
  EXPECT_TRUE(ZXP7EpcGen2Encode(&blank, 0).ParseAndExecuteXML());
  EXPECT_FALSE(ZXP7EpcGen2Encode(&blank, 1).ParseAndExecuteXML());
}

TEST_F(EncodeTest, ExceptionsAreLoggedByKindWhereTheyAreCaught) {
  const std::string unknown = "unknown exception occurred. Likely a SEH Exception.";
  // The fault, the line of an operation, and that of the connection in the component's log.
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"throw-framework", "CException Occurred: disk full", "CException - disk full"},
      {"throw-managed", unknown,
       "Exception - disk fullTagwright.Managed.EncoderException: disk full"},
      {"throw-standard", "std::exception Occurred: disk full", "std::exception - disk full"},
      {"throw-unknown", unknown,
       "Unknown exception - likely a structured exception handler exception"},
  };
  for (const auto& [fault, ofOperation, ofConnect] : cases) {
    _log.Clear();
    Script("WriteEPC", fault);
    EXPECT_FALSE(RunOperations(std::string(kPrinter) + "<write segment='1' data='1111'/><lock/>"));
    EXPECT_THAT(_log.Texts(),
                Contains("Errors: ZXP7EpcGen2Encode::ParseNextElement " + ofOperation));
    EXPECT_THAT(TakeCalls(), HasSubstr("Connect=true WriteEPC=exception Disconnect=true"));

    Script("Connect", fault);
    EXPECT_FALSE(RunOperations(kPrinter)) << fault;
    EXPECT_TRUE(_componentLog->Has("ZebraSDKManagedBridge::Connect " + ofConnect));
    EXPECT_EQ(_log.Mentions("Errors, "), 1);
    EXPECT_THAT(TakeCalls(), Not(HasSubstr("Disconnect=true")));
  }
}

TEST_F(EncodeTest, AFailingTestEntryIsRecordedWithItsCode) {
  for (const std::string fault : {"throw-managed", "throw-framework"}) {
    Script("TestManagedCodeAccessible", fault);
    EXPECT_FALSE(RunOperations(kPrinter));
    EXPECT_TRUE(_log.Has(
        "ZXP7EpcGen2Encode::VerifyManagedComponentsLoad: A structured exception handler(SEH) "
        "exception occurred trying to load the managed components. It's likely one or more DLLs "
        "are missing. ExceptionCode:" +
        std::string(fault == "throw-managed" ? "E0434352" : "E06D7363")));
  }
  EXPECT_THAT(TakeCalls(), Not(HasSubstr("InitLogging=true")));
}

TEST_F(EncodeTest, AFaultLeavesAHalfWrittenTag) {
  const auto start = [](Simulator::Bank bank) {
    const auto tag = Simulator::LoadTag(TEXT("TEST1"));
    return Simulator::FormatWords(tag.Memory().Of(bank)).substr(0, 14);
  };
  const std::string printer = kPrinter;
  Script("WriteUserMemory", "partial-write");
  EXPECT_FALSE(RunOperations(printer + "<write segment='3' data='111122223333'/>"));
  EXPECT_EQ(start(Simulator::Bank::kUser), "1111 0000 0000");
  EXPECT_TRUE(_componentLog->Mentions("insufficient power"));
  Script("SetKillPassword", "erased-word");
  EXPECT_FALSE(RunOperations(printer + "<setpassword type='1' password='5EC0DE01'/>"));
  EXPECT_EQ(start(Simulator::Bank::kReserved), "5EC0 0000 0000");
  Script("LockTag", "tag-leaves");
  EXPECT_FALSE(RunOperations(printer + "<lock/><write segment='1' data='1111'/>"));
  EXPECT_TRUE(_componentLog->Mentions("no answer from the tag"));
  EXPECT_EQ(start(Simulator::Bank::kEpc), "0DAD 3000 0000");
}

TEST_F(EncodeTest, AnErrorInTheFaultScriptRefusesEveryConnection) {
  Script("WriteEpc", "false");
  EXPECT_FALSE(RunOperations(kPrinter));
  EXPECT_TRUE(
      _componentLog->Has("Connect: port type = 1, connect per card = 0, faults.json: no "
                         "such member: WriteEpc"));
}

}  // namespace
