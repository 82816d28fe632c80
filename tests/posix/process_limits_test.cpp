/// What the layer sets for the whole process when it is loaded.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "common/victim.h"
#include "platform/windows_api.h"
#include "posix/descriptor_limit.h"

namespace {

/// Exit code 0, or the number of the first check that failed.
const VictimRole kLimited("limited", [](VictimSide&, const std::string&) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur != limit.rlim_max) return 1;

  const rlimit oneByte{1, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &oneByte);
  const HANDLE file =
      CreateFileW(u"C:\\limited.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 2;
  DWORD written = 0;
  if (WriteFile(file, "text", 4, &written, nullptr)) return 3;
  return GetLastError() == ERROR_FILE_TOO_LARGE ? 0 : 4;
});

TEST(ProcessLimits, DescriptorsAreManyAndAFileSizeLimitIsAnError) {
  const DescriptorLimit few(256);
  EXPECT_EQ(Victim("limited").ExitCode(), 0U);
}

TEST(ProcessLimits, EndedChildrenKeepNoDescriptors) {
  const DescriptorLimit few(64);
  for (int number = 0; number < 128; ++number) {
    ChildProcess child;
    child.Start(u"/bin/true");
    ASSERT_EQ(child.ExitCode(), 0U) << number;
  }
}

}  // namespace
