/// What happens when the files beside the program are not what they should be. The program under
/// test is a copy of its own, in the folder sdk_files beside this one.
#include "common/child_process.h"
#include "encode/encode_fixture.h"
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

  void Remove(const WCHAR* file) { EXPECT_TRUE(DeleteFileW((_folder + file).c_str())); }

  /// Runs the job and returns what the program says it came to.
  std::string RunJob() {
    const WideText result = Simulator::StateFilePath("result.txt");
    DeleteFileW(result.c_str());
    ChildProcess job;
    job.Start(TEXT("\"") + _folder + TEXT("\\run_job\""));
    EXPECT_EQ(job.ExitCode(), DWORD{0});
    return Simulator::ReadStateFile(result).value_or("no result");
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

  const struct {
    WideText component;
    const char* reason;
  } unusable[] = {
      {_bin + kMakersFiles[0], "LoadLibrary failed, error 0x000000C1"},
      {_folder + TEXT("\\components\\foreign_component.dll"),
       "GetProcAddress of TagwrightManagedGetInterface failed, error 0x0000007F"},
      {_folder + TEXT("\\components\\older_component.dll"),
       "it does not know the interface version asked for"},
  };
  for (const auto& expected : unusable) {
    Install(expected.component);
    EXPECT_THAT(RunJob(), testing::HasSubstr(expected.reason));
  }
  Remove(kComponent);
  EXPECT_THAT(RunJob(), testing::HasSubstr("LoadLibrary failed, error 0x0000007E"));
}

}  // namespace
