/// tagwright in single mode: a driver's session from start to exit code.
#include "process/process_fixture.h"
#include "support/scoped_handle.h"

namespace {

using SingleModeTest = ProcessTest;

TEST_F(SingleModeTest, EncodesACardAndTellsTheWholeStory) {
  StartTagwright();
  _client.Expect(0, 0x200, Example("card.xml"));
  _client.Expect(0, 0x100);
  ExpectExit();
  ExpectLog("single");
}

TEST_F(SingleModeTest, AnUnusableCommandLineIsToldInTheLogOnly) {
  _tagwright.Start("tagwright", "/n a /n");
  ExpectExit();
  ExpectLog("missing-name");
}

TEST_F(SingleModeTest, ASecondProcessOnTheSameNameLeavesTheFirstAlone) {
  StartTagwright();
  Program second;
  second.Start("tagwright", "/n " + _pipeName);
  EXPECT_EQ(second.ExitCode(), DWORD{0});
  const ScopedHandle jobOfAnother(
      CreateMutexW(nullptr, TRUE, TEXT("TagwrightServerEncodingMutex")));
  _client.Send(0x201, Example("encode-epc.xml"));
  _tagwright.Await(
      [&] { return _log.Has("Serializing all Encoding - Aquiring _Zxp7EncodeMutex"); });
  EXPECT_EQ(WaitForSingleObject(_tagwright.Handle(), 100), DWORD{WAIT_TIMEOUT});
  EXPECT_FALSE(_log.Mentions("Serializing all Encoding - Aquired _Zxp7EncodeMutex"));
  ReleaseMutex(jobOfAnother.Get());
  _client.ExpectReply(0x201, 0);
  ExpectExit();
  ExpectLog("second-process");
}

TEST_F(SingleModeTest, AComponentThatCannotBeCreatedEndsTheServiceWithoutAReply) {
  ScriptFaults(R"({"ZebraSDK": {"fault": "throw-standard", "text": "no runtime"}})");
  StartTagwright();
  _client.Send(0x200, Example("encode-epc.xml"));
  _client.ExpectClosed();
  ExpectExit();
  ExpectLog("no-component");
}

TEST_F(SingleModeTest, WithoutADriverItEndsByItself) {
  _tagwright.Start("tagwright", "/n " + _pipeName);
  ExpectExit();
  ExpectLog("no-client");
}

TEST_F(SingleModeTest, WithoutRequestsItEndsByItself) {
  StartTagwright("hurried\\tagwright");
  const ScopedHandle decisionOfAnother(
      CreateMutexW(nullptr, TRUE, TEXT("Tagwright_Shutdown_Mutex")));
  _tagwright.Await(
      [&] { return _log.Has("wmain: hIdleEvent was signaled. Taking Shutdown mutex"); });
  EXPECT_EQ(WaitForSingleObject(_tagwright.Handle(), 200), DWORD{WAIT_TIMEOUT});
  ReleaseMutex(decisionOfAnother.Get());
  ExpectExit();
  _client.ExpectClosed();
  ExpectLog("idle");
}

}  // namespace
