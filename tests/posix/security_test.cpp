/// Which descriptors open pipes and mutexes to everyone, and which texts are none. What stands for
/// the verdict is the mode of the files that the layer makes.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/posix/kernel/state_paths.h"
#include "platform/windows_api.h"
#include "support/osynchronizer.h"

namespace {

constexpr int kRefused = 0, kPrivate = 0600, kEveryone = 0666;

int ModeOf(const std::string& file) {
  return static_cast<int>(std::filesystem::status(file).permissions());
}

int VerdictOn(const std::string& sddl) {
  const std::basic_string<WCHAR> text(sddl.begin(), sddl.end());
  SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  const BOOL isConverted = ConvertStringSecurityDescriptorToSecurityDescriptorW(
      text.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
  const HANDLE mutex = CreateMutexW(&attributes, FALSE, TEXT("security"));
  const HANDLE pipe = CreateNamedPipeW(TEXT("\\\\.\\pipe\\security"), PIPE_ACCESS_DUPLEX, 0, 1, 0,
                                       0, 0, &attributes);
  const int mode = ModeOf(platform::StateFolder("mutex") + "/security");
  EXPECT_EQ(ModeOf(platform::StateFolder("pipe") + "/security"), mode);
  for (const HANDLE handle : {mutex, pipe}) CloseHandle(handle);
  LocalFree(attributes.lpSecurityDescriptor);
  return isConverted ? mode : kRefused;
}

TEST(SecurityDescriptor, OpensOnlyWhatEveryoneMayReadAndWrite) {
  const std::map<int, std::vector<const char*>> cases = {
      {kEveryone,
       {"D:(A;OICI;GA;;;WD)", "D:P(A;;GRGW;;;S-1-1-0)", "D:(A;;GR;;;WD)(A;;GW;;;WD)",
        "D:(A;;FRFW;;;WD)", "D:(A;;FA;;;WD)", "D:(A;CIOINPID;GAGXFX;;;WD)",
        "D:(A;;GA;;;WD)(D;;GA;;;WD)"}},
      {kPrivate,
       {"D:(A;;GXFX;;;WD)", "D:(A;;GR;;;WD)", "D:(A;;FW;;;WD)", "D:(D;;FR;;;WD)(A;;FA;;;WD)",
        "D:(A;;GA;;;S-1-5-32-544)", "D:P", "D:(A;;GA;;;SY)", "D:(A;;GA;;;AZ)",
        "D:(D;;GW;;;WD)(A;;GA;;;WD)", "D:(A;OIIO;GA;;;WD)"}},
      {kRefused,
       {"", "D:(A;OICI;GA;;;WD", "D:A;;GA;;;WD)", "D:(X;;GA;;;WD)", "D:(A;XX;GA;;;WD)",
        "D:(A;;XX;;;WD)", "D:(A;;GA;x;;WD)", "D:(A;;GA;;x;WD)", "D:(A;;GA;;WD)", "D:(A;;GA;;;W)",
        "D:(A;;GA;;;wd)", "D:(A;;GA;;;S-1-)", "D:(A;;GA;;;S-1-x)"}},
  };
  for (const auto& [verdict, texts] : cases) {
    for (const char* sddl : texts) EXPECT_EQ(VerdictOn(sddl), verdict) << sddl;
  }
}

TEST(SecurityDescriptor, OpensTheProductsMutexesToEveryone) {
  OMutex mutex("of the product", INFINITE);
  mutex.Acquire();
  EXPECT_EQ(ModeOf(platform::StateFolder("mutex") + "/of the product"), kEveryone);
}

}  // namespace
