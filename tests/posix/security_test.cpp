/// Which descriptors open pipes and mutexes to everyone, and which texts are none. What stands for
/// the verdict is the mode of the files that the layer makes.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

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
  const struct {
    const char* sddl;
    int verdict;
  } cases[] = {{"D:(A;OICI;GA;;;WD)", kEveryone},
               {"D:P(A;;GRGW;;;S-1-1-0)", kEveryone},
               {"D:(A;;GR;;;WD)(A;;GW;;;WD)", kEveryone},
               {"D:(A;;FRFW;;;WD)", kEveryone},
               {"D:(A;;FA;;;WD)", kEveryone},
               {"D:(A;CIOINPID;GAGXFX;;;WD)", kEveryone},
               {"D:(A;;GA;;;WD)(D;;GA;;;WD)", kEveryone},
               {"D:(A;;GXFX;;;WD)", kPrivate},
               {"D:(A;;GR;;;WD)", kPrivate},
               {"D:(A;;FW;;;WD)", kPrivate},
               {"D:(D;;FR;;;WD)(A;;FA;;;WD)", kPrivate},
               {"D:(A;;GA;;;S-1-5-32-544)", kPrivate},
               {"D:P", kPrivate},
               {"D:(A;;GA;;;SY)", kPrivate},
               {"D:(D;;GW;;;WD)(A;;GA;;;WD)", kPrivate},
               {"D:(A;OIIO;GA;;;WD)", kPrivate},
               {"", kRefused},
               {"D:(A;OICI;GA;;;WD", kRefused},
               {"D:A;;GA;;;WD)", kRefused},
               {"D:(X;;GA;;;WD)", kRefused},
               {"D:(A;XX;GA;;;WD)", kRefused},
               {"D:(A;;XX;;;WD)", kRefused},
               {"D:(A;;GA;x;;WD)", kRefused},
               {"D:(A;;GA;;x;WD)", kRefused},
               {"D:(A;;GA;;WD)", kRefused},
               {"D:(A;;GA;;;W)", kRefused},
               {"D:(A;;GA;;;wd)", kRefused},
               {"D:(A;;GA;;;S-1-)", kRefused},
               {"D:(A;;GA;;;S-1-x)", kRefused}};
  for (const auto& one : cases) EXPECT_EQ(VerdictOn(one.sddl), one.verdict) << one.sddl;
}

TEST(SecurityDescriptor, OpensTheProductsMutexesToEveryone) {
  OMutex mutex("of the product", INFINITE);
  mutex.Acquire();
  EXPECT_EQ(ModeOf(platform::StateFolder("mutex") + "/of the product"), kEveryone);
}

}  // namespace
