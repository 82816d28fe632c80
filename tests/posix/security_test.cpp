/// Which descriptors open pipes and mutexes to everyone, and which texts are none.
#include "platform/posix/kernel/security.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/windows_api.h"

namespace {

enum Verdict { kRefused, kPrivate, kEveryone };

Verdict VerdictOn(const std::string& sddl, DWORD revision = SDDL_REVISION_1) {
  const std::basic_string<WCHAR> text(sddl.begin(), sddl.end());
  SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  ULONG size = 0;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
          text.c_str(), revision, &attributes.lpSecurityDescriptor, &size)) {
    EXPECT_EQ(attributes.lpSecurityDescriptor, nullptr);
    EXPECT_FALSE(platform::GrantsEveryone(&attributes));
    return kRefused;
  }
  EXPECT_GT(size, ULONG{0});
  const bool open = platform::GrantsEveryone(&attributes);
  EXPECT_EQ(LocalFree(attributes.lpSecurityDescriptor), nullptr);
  return open ? kEveryone : kPrivate;
}

TEST(SecurityDescriptor, OpensOnlyWhatEveryoneMayReadAndWrite) {
  const struct {
    const char* sddl;
    Verdict verdict;
  } cases[] = {
      {"D:(A;OICI;GA;;;WD)", kEveryone},
      {"D:P(A;;GRGW;;;S-1-1-0)", kEveryone},
      {"D:(A;;GR;;;WD)(A;;GW;;;WD)", kEveryone},
      {"D:(A;;0x10000000;;;WD)", kEveryone},
      {"D:", kPrivate},
      {"D:(A;;GA;;;SY)", kPrivate},
      {"D:(A;;GR;;;WD)", kPrivate},
      {"D:(D;;GW;;;WD)(A;;GA;;;WD)", kPrivate},
      {"D:(A;;0x80000000;;;WD)", kPrivate},
      {"", kRefused},
      {"garbage", kRefused},
      {"D:(A;OICI;GA;;;WD", kRefused},
      {"D:(A;OICI;GA;;;WD)x", kRefused},
      {"D:(A;OICI;GA;;WD)", kRefused},
      {"D:(Q;;GA;;;WD)", kRefused},
      {"D:(A;OIC;GA;;;WD)", kRefused},
      {"D:(A;;G;;;WD)", kRefused},
      {"D:(A;;0xGA;;;WD)", kRefused},
      {"D:(A;;GA;;;)", kRefused},
      {"D:(A;;GA;;;S-1-x)", kRefused},
  };
  for (const auto& one : cases) EXPECT_EQ(VerdictOn(one.sddl), one.verdict) << one.sddl;
  EXPECT_EQ(VerdictOn("D:", 2), kRefused);
  EXPECT_FALSE(platform::GrantsEveryone(nullptr));
}

}  // namespace
