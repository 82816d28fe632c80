/// Which descriptors open pipes and mutexes to everyone, and which texts are none.
#include "platform/posix/kernel/security.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/windows_api.h"

namespace {

enum Verdict { kRefused, kPrivate, kEveryone };

Verdict VerdictOn(const std::string& sddl) {
  const std::basic_string<WCHAR> text(sddl.begin(), sddl.end());
  SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  const BOOL isConverted = ConvertStringSecurityDescriptorToSecurityDescriptorW(
      text.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
  const bool open = platform::GrantsEveryone(&attributes);
  LocalFree(attributes.lpSecurityDescriptor);
  return !isConverted ? kRefused : open ? kEveryone : kPrivate;
}

TEST(SecurityDescriptor, OpensOnlyWhatEveryoneMayReadAndWrite) {
  const struct {
    const char* sddl;
    Verdict verdict;
  } cases[] = {{"D:(A;OICI;GA;;;WD)", kEveryone},
               {"D:P(A;;GRGW;;;S-1-1-0)", kEveryone},
               {"D:(A;;GR;;;WD)(A;;GW;;;WD)", kEveryone},
               {"D:(A;;GA;;;SY)", kPrivate},
               {"D:(D;;GW;;;WD)(A;;GA;;;WD)", kPrivate},
               {"", kRefused},
               {"D:(A;OICI;GA;;;WD", kRefused},
               {"D:(A;OICI;GA;;WD)", kRefused},
               {"D:(A;;GA;;;S-1-x)", kRefused}};
  for (const auto& one : cases) EXPECT_EQ(VerdictOn(one.sddl), one.verdict) << one.sddl;
  EXPECT_FALSE(platform::GrantsEveryone(nullptr));
}

}  // namespace
