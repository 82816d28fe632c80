/// The real program with a managed runtime in it, and a component of managed code.
#include "common/dump_folder.h"
#include "process/control_fixture.h"
#include "process/driven.h"
#include "sdk/component_api.h"
#include "simulator/component/crash.h"
#include "support/crash_guard.h"
#include "support/oexception.h"
#include "support/process_utility.h"
#include "support/scoped_handle.h"

namespace {

constexpr const char* kProgram = "managed_test\\tagwright";
constexpr const char* kUnknown = "unknown exception occurred. Likely a SEH Exception.";

std::string Write(const std::string& action) {
  return "<write segment='1' data='" + action + "'/>";
}
std::string Job(const std::string& elements) { return "<zsdk_job>" + elements + "</zsdk_job>"; }
std::string Printer(const std::string& address, const std::string& portType = "1") {
  return "<printer port_type='" + portType + "' port_address='" + address + "'/>";
}
std::filesystem::path InRoot(const std::string& file) {
  return std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / file;
}
/// What the component has written down.
std::string Notes() { return ReadWholeFile(InRoot("calls")); }
bool HasNote(const std::string& text) { return Notes().find(text) != std::string::npos; }

class ManagedTest : public ControlTest {
 protected:
  ManagedTest() { std::filesystem::remove(InRoot("calls")); }
  ~ManagedTest() override { std::filesystem::remove(InRoot("throw")); }

  void Start(const std::string& options = "", const std::string& program = kProgram) {
    _tagwright.Start(program, options + "/n " + _pipeName);
    _tagwright.Connect(_client, _pipeName);
  }
  /// The program's signals that have handlers, or are ignored; the real-time ones are left out.
  std::string HandledSignals() const {
    const std::string status =
        ReadWholeFile("/proc/" + std::to_string(_tagwright.Id()) + "/status");
    constexpr std::size_t kDigits = 16, kOfStandardSignals = 8;
    std::string masks;
    for (const std::string name : {"SigIgn:\t", "SigCgt:\t"}) {
      masks += status.substr(status.find(name) + name.size() + kDigits - kOfStandardSignals,
                             kOfStandardSignals);
    }
    return masks;
  }
  static void ThrowIn(const std::string& member) { std::ofstream(InRoot("throw")) << member; }
};

TEST_F(ManagedTest, ForwardsEveryCallWithItsTypes) {
  Start();
  _client.Expect(
      0, 0x200,
      Job("<printer port_type='-3' port_address='USB &lt;1&gt;' "
          "uhfEncodeMode_ReaderConnectPerCard='1'/>" +
          Write("E200") +
          "<write segment='0' offset='-2' data='00'/><write segment='3' offset='7' data=''/>"
          "<setpassword type='1' password='KILL'/><setpassword type='0' password='ACCESS'/>"
          "<lock lock_action='2147483647' password='a'/>"
          "<unlock lock_action='-2147483648' password='b'/>"
          "<lock block='yes' startblock='-1' blockcount='5' password='c'/>"
          "<killtag password='d'/>"));
  EXPECT_EQ(Notes(),
            "ZebraSDK()\nTestManagedCodeAccessible()\nInitLogging()\nConnect(-3, USB <1>, True)\n"
            "WriteEPC(E200)\nWriteMemory(0, -2, 00)\nWriteUserMemory(7, )\n"
            "SetKillPassword(KILL)\nSetAccessPassword(ACCESS)\nLockTag(a, 2147483647)\n"
            "UnlockTag(b, -2147483648)\nPermalockUserBlock(c, 4294967295, 5)\nKillTag(d)\n"
            "Disconnect()\nDispose()\n");
  _client.Expect(200003, 0x200, Job("<killtag password='refuse'/>"));
  _client.Expect(0, 0x100);
  ExpectExit();
}

TEST_F(ManagedTest, TheRuntimeGivesBackTheSignalsThatItTakes) {
  Start();
  _client.Expect(200002, 0x302);  // The program has taken what it needs itself.
  const std::string before = HandledSignals();
  _client.Expect(0, 0x200, Job(Write("collect")));
  EXPECT_EQ(HandledSignals(), before);
}

/// Calls every member.
std::string JobOfEveryMember() {
  return Job(
      Printer("A") + Write("E200") +
      "<write segment='0' data=''/><write segment='3' data=''/><setpassword type='1'/><setpassword "
      "type='0'/><lock/><unlock/><lock block='yes'/><killtag/>");
}

TEST_F(ManagedTest, AnExceptionOfAnyMemberIsThatOfTheComponent) {
  Start();
  int count = 0;
  for (const char* member :
       {"InitLogging", "WriteEPC", "WriteMemory", "WriteUserMemory", "SetKillPassword",
        "SetAccessPassword", "LockTag", "UnlockTag", "PermalockUserBlock", "KillTag"}) {
    SCOPED_TRACE(member);
    ThrowIn(member);
    _client.Expect(200003, 0x200, JobOfEveryMember());
    EXPECT_EQ(_log.Mentions(kUnknown), ++count);
  }
  ThrowIn("TestManagedCodeAccessible");
  _client.Expect(200003, 0x200, JobOfEveryMember());
  EXPECT_TRUE(_log.Has("DLLs are missing. ExceptionCode:E0434352"));
  ThrowIn("Dispose");
  _client.Expect(0, 0x200, JobOfEveryMember());
}

TEST_F(ManagedTest, AnExceptionOfConnectIsWrittenToTheComponentsLog) {
  Start();
  const std::string other = Job(Printer("throw a string"));
  _client.Expect(200003, 0x200, other);
  EXPECT_TRUE(HasNote("log(ZebraSDKManagedBridge::Connect Unknown exception - ")) << Notes();
  EXPECT_EQ(_log.Mentions(kUnknown), 0);
  ThrowIn("log");
  _client.Expect(200003, 0x200, other);
  EXPECT_EQ(_log.Mentions(kUnknown), 1);
  ThrowIn("Connect");
  _client.Expect(200003, 0x200, JobOfEveryMember());
  EXPECT_TRUE(
      HasNote("log(ZebraSDKManagedBridge::Connect Exception - thrown by Connect"
              "Tagwright.Managed.TestException: thrown by Connect\n"
              "  at Tagwright.Managed.ZebraSDK.Note "))
      << Notes();
}

TEST_F(ManagedTest, AnExceptionBeforeOrAfterAllCallsEndsTheProcess) {
  for (const char* member : {"Disconnect", "ZebraSDK"}) {
    SCOPED_TRACE(member);
    ThrowIn(member);
    Serving ending(kProgram);
    ending.client.Send(0x200, JobOfEveryMember());
    ending.client.ExpectClosed();
    EXPECT_EQ(ending.program.ExitCode(), 0U);
  }
}

TEST_F(ManagedTest, AFaultOfManagedCodeIsAnExceptionThatItMayCatch) {
  Start();
  for (int round = 0; round < 2; ++round) {
    for (const char* caught : {"null caught", "divide caught", "collect"}) {
      SCOPED_TRACE(caught);
      _client.Expect(0, 0x200, Job(Write(caught)));
    }
    for (const auto& [action, type] : {std::pair{"null", "System.NullReferenceException: "},
                                       std::pair{"divide", "System.DivideByZeroException: "},
                                       std::pair{"overflow", "System.StackOverflowException: "}}) {
      SCOPED_TRACE(action);
      _client.Expect(200003, 0x200, Job(Write(action)));
      _client.Expect(200003, 0x200, Job(Printer(action)));
      EXPECT_TRUE(HasNote(type)) << Notes();
    }
  }
  EXPECT_EQ(_log.Mentions(kUnknown), 6);
  _client.Expect(0, 0x100);
  ExpectExit();
}

TEST_F(ManagedTest, ACrashBelowManagedCodeIsThatOfItsCallAndLeavesTheRuntimeWhole) {
  const DumpFolder dumps;
  Start();
  for (int round = 0; round < 3; ++round) {
    _client.Expect(200003, 0x200, Job(Printer("A") + Write("crash")));
    _client.Expect(0, 0x200, Job(Write("collect")));
  }
  EXPECT_TRUE(
      Notes().ends_with("WriteEPC(crash)\nDisconnect()\nDispose()\n"
                        "ZebraSDK()\nWriteEPC(collect)\nDispose()\n"))
      << Notes();
  _client.Send(0x200, Job(Printer("A", "9")));
  _client.ExpectClosed();
  ExpectExit();
  EXPECT_TRUE(_log.Has("Caught in [PipeServer::ProcessMessagesThread]"));
  const std::string path = DumpFolder::Path("bkcrash_0000.dmp");
  EXPECT_TRUE(_log.Has("MiniDump File: " + path));
  EXPECT_FALSE(DumpFolder::Streams(DumpFolder::Content(path)).empty());
}

TEST_F(ManagedTest, ACrashOfAThreadThatTheRuntimeDoesNotKnowIsLeftToTheProgram) {
  GuardCrashes([] {});  // The program's handlers come first.
  const OString path = OString(ProcessUtility::GetCurrentModuleDirectory())
                       << "\\managed_test\\Tagwright.Managed.dll";
  const ScopedLibrary host(path.wstring());
  const auto getInterface = host.Function<TagwrightGetInterface>(TAGWRIGHT_COMPONENT_ENTRY);
  ASSERT_NE(getInterface, nullptr);
  TagwrightCallResult result{};
  getInterface(kTagwrightComponentVersion)->TestManagedCodeAccessible(&result);
  EXPECT_EQ(result.outcome, kTagwrightReturned);
  using namespace Simulator;
  for (const auto crash : {CrashByReading, CrashByReading, CrashByDividing, CrashByDividing}) {
    EXPECT_THROW(GuardCrashes(crash), OException);
  }
}

TEST_F(ManagedTest, WhatEndsTheRuntimeEndsTheProcessWithADump) {
  for (const auto& [action, signal] :
       {std::pair{"abort", SIGABRT}, std::pair{"throw in a thread", SIGABRT},
        std::pair{"crash in a thread", SIGSEGV}}) {
    SCOPED_TRACE(action);
    const DumpFolder dumps;
    const ProductLog log;
    Serving ending(kProgram);
    ending.client.Expect(0, 0x200, Job(Write("collect")));
    ending.client.Send(0x200, Job(Write(action)));
    ending.client.ExpectClosed();
    EXPECT_EQ(ending.program.ExitCode(), static_cast<DWORD>(128 + signal));
    const std::string path = DumpFolder::Path("bkcrash_0000.dmp");
    EXPECT_TRUE(log.Has("MiniDump File: " + path));
    EXPECT_FALSE(DumpFolder::Streams(DumpFolder::Content(path)).empty());
  }
}

TEST_F(ManagedTest, AHangIsLeftBehindWhenTheDriverDies) {
  for (const char* action : {"sleep", "spin"}) {
    SCOPED_TRACE(action);
    Driven driven(kSingle, kProgram);
    driven.SendJob(Job(Write(action)));
    driven.Tagwright().Await([&] { return HasNote(action); });
    driven.KillDriver();
    driven.ExpectEnd(5000);
  }
  EXPECT_EQ(_log.Count("wmain: Tagwright Exit"), 2);
  EXPECT_EQ(_log.Mentions("Error: "), 0);
}

TEST_F(ManagedTest, CollectsGarbageWhileAllTheEncodersOfAControllerWait) {
  constexpr int kEncoders = 62;
  Start("/c ");
  for (int i = 0; i < kEncoders; ++i) AddEncoder();
  for (PipeClient& encoder : _encoders) encoder.Send(0x200, Job(Write("collect")));
  for (PipeClient& encoder : _encoders) encoder.ExpectReply(0x200, 0);
  ShutDown();
}

TEST_F(ManagedTest, TheExampleKeepsItsTags) {
  Start("", "managed_example\\tagwright");
  _client.Expect(0, 0x200, Example("card.xml"));
  const std::string tag = ReadWholeFile(InRoot("managed/USB001.tag"));
  EXPECT_TRUE(tag.starts_with("5EC0DE010BADCAFE")) << tag;
  EXPECT_NE(tag.find("\n00000000E2004216CB60601500951ED6"), tag.npos) << tag;
  _client.Expect(200003, 0x200, Job(Printer("../x")));
  EXPECT_NE(ReadWholeFile(InRoot("managed/component.log")).find("no address of a printer"),
            std::string::npos);
  _client.Expect(0, 0x100);
  ExpectExit();
}

}  // namespace
