#include <stdexcept>

#include "encode/encode_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

TEST_F(EncodeTest, ACardFromBlankToFinished) {
  EXPECT_TRUE(RunOperations(std::string(kPrinter) +
                            "<write segment='1' data='E2004216CB60601500951ED6'/>"
                            "<!-- passwords -->text<setpassword type='2' password='0BADCAFE'/>"
                            "<lock lock_action='131200' password='0BADCAFE'/>"));
  EXPECT_THAT(_log.Texts(),
              ElementsAre("DetailInfo: ZXP7EpcGen2Encode::ZXP7EpcGen2Encode",
                          "DetailInfo: ZXP7EpcGen2Encode::CreateSDKJobXmlDocument",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseAndExecuteXML",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement printer",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement write WMB_EPC",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement setpassword generic",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseNextElement lock",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseAndExecuteXML: All elements parsed",
                          "DetailInfo: ZXP7EpcGen2Encode::ParseAndExecuteXML: Calling "
                          "_pZebraSDKManagedBridge->Disconnect()"));
  EXPECT_THAT(Calls(),
              ElementsAre("ZebraSDK=true", "TestManagedCodeAccessible=true", "InitLogging=true",
                          "Connect=true", "WriteEPC=true", "SetAccessPassword=true", "LockTag=true",
                          "Disconnect=true", "Dispose=true"));
  const Simulator::Tag tag = Simulator::LoadTag(TEXT("TEST1"));
  EXPECT_EQ(tag.AccessPassword(), 0x0BADCAFEU);
  EXPECT_EQ(tag.Memory().banks[1][2], 0xE200);
  EXPECT_EQ(tag.Memory().locks.Of(Simulator::LockField::kAccessPassword),
            Simulator::LockState::kLocked);
}

TEST_F(EncodeTest, NoValueOfAJobReachesALog) {
  EXPECT_FALSE(RunOperations(std::string(kPrinter) +
                             "<write segment='3' data='FEED'/><setpassword password='0BADCAFE'/>"
                             "<killtag password='0BADCAFF'/>"));
  for (const char* value : {"FEED", "BADCAF", "TEST1"}) {
    EXPECT_FALSE(_log.Has(value)) << value;
    EXPECT_FALSE(_componentLog->Has(value)) << value;
  }
  EXPECT_TRUE(_componentLog->Has("ZebraSDK::KillTag: wrong password"));
}

TEST_F(EncodeTest, EveryElementHasItsCallAndItsLine) {
  const struct {
    const char* element;
    const char* line;
    const char* member;
  } cases[] = {
      {"<write segment='1' data='1111'/>", "write WMB_EPC", "WriteEPC"},
      {"<WRITE segment='3' data='1111'/>", "write WMB_User", "WriteUserMemory"},
      {"<write segment='2' data='1111'/>", "write memory", "WriteMemory"},
      {"<write segment='7' data='1111'/>", "write memory", "WriteMemory"},
      {"<Lock lock_action='1'/>", "lock", "LockTag"},
      {"<lock block='Yes' blockcount='1'/>", "lock", "PermalockUserBlock"},
      {"<unlock lock_action='1'/>", "unlock", "UnlockTag"},
      {"<setpassword type='01'/>", "setpassword KillPassword", "SetKillPassword"},
      {"<setpassword type='2'/>", "setpassword generic", "SetAccessPassword"},
      {"<killTag/>", "killtag", "KillTag"},
  };
  for (const auto& expected : cases) {
    Simulator::ReplaceStateFile(CallsPath(), "");
    // Without a printer element the operation is tried all the same.
    EXPECT_FALSE(RunOperations(expected.element)) << expected.element;
    EXPECT_THAT(Calls(), ElementsAre("ZebraSDK=true", std::string(expected.member) + "=false",
                                     "Dispose=true"))
        << expected.element;
    EXPECT_THAT(_log.Texts(), Contains(std::string("DetailInfo: ZXP7EpcGen2Encode::") +
                                       "ParseNextElement " + expected.line))
        << expected.element;
  }
}

TEST_F(EncodeTest, DocumentsDecideWhatIsExecuted) {
  const std::string write = "<write segment='3' data='1111'/>";
  const struct {
    std::string document;
    bool result;
    bool invalid;
    std::vector<std::string> operations;
  } cases[] = {
      {"<zsdk_job/>", true, false, {}},
      {"<other/><zsdk_job></zsdk_job>", true, false, {}},
      {"<ZSDK_JOB>" + write + "</ZSDK_JOB>", false, false, {}},
      {"<job><zsdk_job>" + write + "</zsdk_job></job>", false, false, {}},
      {"not XML at all", false, true, {}},
      {"<zsdk_job>" + (kPrinter + write),
       true,
       true,
       {"Connect=true", "WriteUserMemory=true", "Disconnect=true"}},
      {"<zsdk_job>" + (kPrinter + ("<erase/>" + write)) + "</zsdk_job>",
       false,
       false,
       {"Connect=true", "Disconnect=true"}},
  };
  for (const auto& expected : cases) {
    Simulator::ReplaceStateFile(CallsPath(), "");
    const int invalidBefore = _log.Count("Errors");
    EXPECT_EQ(RunDocument(expected.document), expected.result) << expected.document;
    EXPECT_EQ(_log.Count("Errors") - invalidBefore, expected.invalid ? 1 : 0) << expected.document;
    std::vector<std::string> calls = {"ZebraSDK=true"};
    if (!expected.operations.empty()) {
      calls.insert(calls.end(), {"TestManagedCodeAccessible=true", "InitLogging=true"});
    }
    calls.insert(calls.end(), expected.operations.begin(), expected.operations.end());
    calls.push_back("Dispose=true");
    EXPECT_THAT(Calls(), ElementsAreArray(calls)) << expected.document;
  }
  EXPECT_TRUE(_log.Has("ZXP7EpcGen2Encode::ZXP7EpcGen2Encode    Invalid XML"));
}

TEST_F(EncodeTest, TheFirstFailureEndsTheJobAndTheConnection) {
  EXPECT_FALSE(RunOperations(std::string(kPrinter) + "<write segment='1' data='XYZ'/><lock/>"));
  EXPECT_THAT(Calls(), Not(Contains("LockTag=true")));
  EXPECT_THAT(Calls(), Contains("Disconnect=true"));
  EXPECT_TRUE(_log.Has("All elements parsed"));
}

TEST_F(EncodeTest, AFailedSecondConnectionIsNotDisconnected) {
  EXPECT_FALSE(RunOperations(std::string(kPrinter) + "<printer port_address=''/>"));
  EXPECT_THAT(Calls(), Contains("Connect=true"));
  EXPECT_THAT(Calls(), Contains("Connect=false"));
  EXPECT_THAT(Calls(), Not(Contains("Disconnect=true")));
}

TEST_F(EncodeTest, ExceptionsOfAnOperationAreLoggedByKind) {
  const std::string context = "Errors: ZXP7EpcGen2Encode::ParseNextElement ";
  const std::string unknown = "unknown exception occurred. Likely a SEH Exception.";
  const struct {
    const char* fault;
    std::string line;
  } cases[] = {
      {"throw-standard", "std::exception Occurred: disk full"},
      {"throw-framework", "CException Occurred: disk full"},
      {"throw-managed", unknown},
      {"throw-unknown", unknown},
  };
  for (const auto& expected : cases) {
    Script("WriteEPC", expected.fault);
    const auto before = _log.Texts().size();
    EXPECT_FALSE(RunOperations(std::string(kPrinter) + "<write segment='1' data='1111'/><lock/>"));
    auto texts = _log.Texts();
    texts.erase(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_THAT(texts, Contains(context + expected.line)) << expected.fault;
    EXPECT_THAT(Calls(), Contains("Disconnect=true"));
  }
}

TEST_F(EncodeTest, ExceptionsOfConnectGoToTheComponentsLog) {
  const struct {
    const char* fault;
    std::string text;
    std::string line;
  } cases[] = {
      {"throw-framework", "port busy", "CException - port busy"},
      {"throw-managed", "no reader",
       "Exception - no readerTagwright.Managed.EncoderException: no reader"},
      {"throw-standard", "disk full", "std::exception - disk full"},
      {"throw-unknown", "", "Unknown exception - likely a structured exception handler exception"},
  };
  for (const auto& expected : cases) {
    Script("Connect", expected.fault, expected.text);
    EXPECT_FALSE(RunOperations(kPrinter)) << expected.fault;
    EXPECT_TRUE(_componentLog->Has("ZebraSDKManagedBridge::Connect " + expected.line));
  }
  EXPECT_FALSE(_log.Has("Errors"));
  EXPECT_THAT(Calls(), Not(Contains("Disconnect=true")));
}

TEST_F(EncodeTest, AnExceptionOfTheComponentsLogIsTheExecutors) {
  Script("InitLogging", "throw-standard", "no log");
  EXPECT_FALSE(RunOperations(kPrinter));
  EXPECT_TRUE(_log.Has("ParseNextElement std::exception Occurred: no log"));
}

TEST_F(EncodeTest, AFailingTestEntryIsRecordedWithItsCode) {
  const struct {
    const char* fault;
    const char* code;
  } cases[] = {{"throw-managed", "E0434352"},
               {"throw-framework", "E06D7363"},
               {"throw-unknown", "E06D7363"}};
  for (const auto& expected : cases) {
    Script("TestManagedCodeAccessible", expected.fault);
    EXPECT_FALSE(RunOperations(kPrinter));
    EXPECT_TRUE(_log.Has(std::string("It's likely one or more DLLs are missing. ExceptionCode:") +
                         expected.code))
        << expected.fault;
  }
  EXPECT_THAT(Calls(), Not(Contains("InitLogging=true")));
}

TEST_F(EncodeTest, AComponentThatCannotBeMadeIsTheCallersMatter) {
  Script("ZebraSDK", "throw-standard", "no license");
  EXPECT_THROW(RunOperations(kPrinter), std::runtime_error);
  EXPECT_THAT(Calls(), ElementsAre("ZebraSDK=exception"));
}

TEST_F(EncodeTest, AMalformedFaultScriptIsLoggedAndIgnored) {
  Simulator::ReplaceStateFile(Simulator::StateFilePath("faults.json"),
                              R"({"Connect": {"fault": "explode"}})");
  EXPECT_TRUE(RunOperations(kPrinter));
  EXPECT_TRUE(_componentLog->Has("faults.json is ignored: no such fault: explode"));
}

}  // namespace
