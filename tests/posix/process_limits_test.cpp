/// What the layer sets for the whole process when it is loaded, and for those that it starts.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include "common/resource_limit.h"
#include "common/victim.h"
#include "platform/windows_api.h"

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

const VictimRole kStranger("stranger", [](VictimSide& side, const std::string&) {
  side.Ready();
  side.WaitUntilReleased();
  return 0;
});

TEST(ProcessLimits, DescriptorsAreManyAndAFileSizeLimitIsAnError) {
  const ResourceLimit few(RLIMIT_NOFILE, 256);
  EXPECT_EQ(Victim("limited").ExitCode(), 0U);
}

DWORD ExitCodeOf(const std::u16string& commandLine) {
  ChildProcess child;
  child.Start(commandLine);
  return child.ExitCode();
}

TEST(Children, StartWithoutTheSignalMaskAndTellHowTheyEnded) {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  // The C library ignores two signals of its own.
  constexpr const WCHAR* kCountMasks =
      u"/bin/sh -c \"exit $(grep -cE 'Sig(Blk:.0{16}|Ign:.*0{7}$)' /proc/self/status)\"";
  EXPECT_EQ(ExitCodeOf(kCountMasks), 2U);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(ExitCodeOf(u"/bin/sh -c \"kill -SEGV $$\""), 128U + SIGSEGV);
  Victim stranger("stranger");
  stranger.WaitUntilReady();
  const HANDLE opened = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, stranger.Id());
  EXPECT_TRUE(TerminateProcess(opened, 77));
  EXPECT_EQ(WaitForSingleObject(opened, ChildProcess::kLongMs), WAIT_OBJECT_0);
  DWORD exitCode = 0;
  EXPECT_TRUE(GetExitCodeProcess(opened, &exitCode) && exitCode == 77);
  EXPECT_EQ(stranger.ExitCode(), 128U + SIGKILL);
  EXPECT_FALSE(TerminateProcess(opened, 78));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  CloseHandle(opened);
}

TEST(Children, KeepNoDescriptorsWhenTheyHaveEnded) {
  const ResourceLimit few(RLIMIT_NOFILE, 64);
  for (int number = 0; number < 128; ++number) ASSERT_EQ(ExitCodeOf(u"true"), 0U) << number;
  EXPECT_EQ(ExitCodeOf(u"test_posix --gtest_filter=none"), 0U) << "beside this program";
}

}  // namespace
