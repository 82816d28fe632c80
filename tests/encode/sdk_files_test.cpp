/// What happens when the files beside the program are not what they should be. The program under
/// test is a copy of its own, in the folder sdk_files beside this one.
#include <cstring>

#include "common/child_process.h"
#include "encode/encode_fixture.h"
#include "platform/debug_listener.h"
#include "sdk/call_result.h"
#include "sdk/managed_exception.h"
#include "support/process_utility.h"

namespace {

using Simulator::WideText;

class SdkFilesTest : public EncodeTest {
 protected:
  static constexpr const WCHAR* kComponent = TEXT("\\Tagwright.Managed.dll");
  static constexpr const WCHAR* kMakersFiles[] = {TEXT("\\ZXPSCReader.dll"),
                                                  TEXT("\\ZBRSXBridge.dll"),
                                                  TEXT("\\Zbscfgsrv.dll"), TEXT("\\Sxuptp.dll")};

  const WideText _bin = ProcessUtility::GetCurrentModuleDirectory().wstring();
  const WideText _folder = _bin + TEXT("\\sdk_files");

  static void Copy(const WideText& from, const WideText& to) {
    Simulator::ReplaceStateFile(to, Simulator::ReadStateFile(from).value());
  }

  /// All files in place, the component being a copy of `component`.
  void Install(const WideText& component) {
    for (const WCHAR* file : kMakersFiles) Copy(_bin + file, _folder + file);
    Copy(component, _folder + kComponent);
  }
  void InstallVictim(const WCHAR* component) {
    Install(_folder + TEXT("\\components\\") + component + TEXT("_component.dll"));
  }

  void Remove(const WCHAR* file) { EXPECT_TRUE(DeleteFileW((_folder + file).c_str())); }

  /// Runs a job of these operations and returns what the program says it came to.
  std::string RunJob(const std::string& operations = "<printer port_address='TEST1'/>") {
    Simulator::ReplaceStateFile(Simulator::StateFilePath("job.xml"),
                                "<zsdk_job>" + operations + "</zsdk_job>");
    const WideText result = Simulator::StateFilePath("result.txt");
    DeleteFileW(result.c_str());
    ChildProcess job;
    job.Start(TEXT("\"") + _folder + TEXT("\\run_job\""));
    EXPECT_EQ(job.ExitCode(), DWORD{0});
    return Simulator::ReadStateFile(result).value_or("no result");
  }

  void ExpectUnusable(const std::string& reason) {
    EXPECT_THAT(RunJob(),
                testing::MatchesRegex(
                    "Cannot use the component .*sdk_files.Tagwright.Managed.dll: " + reason));
  }

  /// What the recording component wrote down of the last job.
  static std::string Received() {
    auto received = Simulator::ReadStateFile(Simulator::StateFilePath("received.txt")).value();
    std::erase(received, '\r');
    return received;
  }
};

TEST_F(SdkFilesTest, AreCheckedBeforeTheConnection) {
  Install(_bin + kComponent);
  EXPECT_EQ(RunJob(), "true");
  EXPECT_THAT(TakeCalls(), testing::HasSubstr("Connect=true"));
  Remove(TEXT("\\Sxuptp.dll"));
  Remove(TEXT("\\ZXPSCReader.dll"));
  EXPECT_EQ(RunJob(), "false");
  EXPECT_THAT(_log.Content(),
              testing::HasSubstr("ZXP7EpcGen2Encode::VerifyManagedComponents: Required files are "
                                 "missing. The missing files are:\r\nZXPSCReader.dll, "
                                 "Sxuptp.dll\r\n"));
  EXPECT_THAT(TakeCalls(), testing::Not(testing::HasSubstr("Connect=")));

  Install(_bin + kMakersFiles[0]);
  ExpectUnusable("LoadLibrary failed, error 0x000000C1");
  InstallVictim(TEXT("foreign"));
  ExpectUnusable("GetProcAddress of TagwrightManagedGetInterface failed, error 0x0000007F");
  InstallVictim(TEXT("older"));
  ExpectUnusable("it does not know the interface version asked for");
  Remove(kComponent);
  ExpectUnusable("LoadLibrary failed, error 0x0000007E");
}

TEST_F(SdkFilesTest, AnInterfaceIsUsedOnlyInTheVersionAndSizeThatWereAskedFor) {
  InstallVictim(TEXT("recording"));
  // The version, the bytes that its table lacks, and whether it creates an object.
  const auto answer = [](const char* text) {
    Simulator::ReplaceStateFile(Simulator::StateFilePath("interface.txt"), text);
  };
  answer("2 0 1");
  ExpectUnusable("it answered with another interface version");
  answer("1 1 1");
  ExpectUnusable("its interface table is too short");
  answer("1 0 0");
  EXPECT_EQ(RunJob(), "The component created no object");
  answer("1 -1 1");
  EXPECT_EQ(RunJob("<printer port_type='1'/>"), "true") << "a larger table begins like ours";
  DeleteFileW(Simulator::StateFilePath("interface.txt").c_str());
}

TEST(CallResultTest, TextsWithoutTheirEndAreCut) {
  TagwrightCallResult result;
  std::memset(&result, 'x', sizeof result);
  result.outcome = kTagwrightManagedException;
  try {
    Tagwright::ReturnOrThrow(result);
  } catch (const Tagwright::ManagedException& exception) {
    EXPECT_EQ(exception.Message().GetLength(), 511);
    EXPECT_EQ(exception.ToString().GetLength(), 2047);
  }
}

TEST_F(SdkFilesTest, EveryNumberAndTextOfAJobReachesItsMember) {
  InstallVictim(TEXT("recording"));
  const auto debugger = platform::DebugListener::Open();
  ASSERT_NE(debugger, nullptr);
  ASSERT_EQ(
      RunJob("<printer port_type='2' port_address='USB3'"
             "  uhfEncodeMode_ReaderConnectPerCard='1'/>"
             "<write segment='1' offset='4' data='E5'/>"
             "<write segment='3' offset='6' data='E7'/>"
             "<write segment='8' offset='9' data='E10'/>"
             "<setpassword type='1' password='11'/>"
             "<setpassword type='12' password='13'/>"
             "<lock lock_action='14' password='15' startblock='16' blockcount='17'/>"
             "<lock block='yes' lock_action='18' password='19' startblock='-20' blockcount='21'/>"
             "<unlock lock_action='22' password='23'/>"
             "<killtag password='24'/>"),
      "true");
  EXPECT_EQ(Received(),
            "InitLogging\nConnect 2 'USB3' 1\nWriteEPC 'E5'\nWriteUserMemory 6 'E7'\n"
            "WriteMemory 8 9 'E10'\nSetKillPassword '11'\nSetAccessPassword '13'\n"
            "LockTag '15' 14\nPermalockUserBlock '19' 4294967276 21\nUnlockTag '23' 22\n"
            "KillTag '24'\nDisconnect\nDisposeObject\n");
  EXPECT_EQ(debugger->Next(60000), "ZebraSDKManagedBridge::Connect Successfully Connnected");

  ASSERT_EQ(RunJob("<printer port_address='25'/>"), "false");
  EXPECT_EQ(Received(), "InitLogging\nConnect 0 '25' 0\nDisposeObject\n");
  EXPECT_EQ(debugger->Next(60000), "ZebraSDKManagedBridge::Connect Failed to Connect");
}

}  // namespace
