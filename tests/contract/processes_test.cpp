#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "common/victim.h"
#include "platform/windows_api.h"

namespace {

const VictimRole kExits("process-exits", [](VictimSide& side, const std::string& exitCode) {
  side.Ready();
  side.WaitUntilReleased();
  return std::atoi(exitCode.c_str());
});

/// Says by its exit code whether the argument arrived.
const VictimRole kArgument("process-argument", [](VictimSide&, const std::string& argument) -> int {
  ExitProcess(argument == "a \"b\\\" c\\" ? 17 : 255);
});

TEST(ProcessTest, HandleIsSignalledAndTellsTheExitCodeAtTheEnd) {
  Victim victim("process-exits", "7");
  victim.WaitUntilReady();
  const HANDLE opened = OpenProcess(SYNCHRONIZE, FALSE, victim.Id());
  ASSERT_NE(opened, nullptr);
  DWORD exitCode = 0;
  EXPECT_TRUE(GetExitCodeProcess(victim.Handle(), &exitCode));
  EXPECT_EQ(exitCode, static_cast<DWORD>(STILL_ACTIVE));
  EXPECT_EQ(WaitForSingleObject(opened, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  victim.Release();
  EXPECT_EQ(WaitForSingleObject(opened, ChildProcess::kLongMs), WAIT_OBJECT_0);
  EXPECT_EQ(victim.ExitCode(), 7U);
  CloseHandle(opened);
}

TEST(ProcessTest, ArgumentsMayBeQuoted) {
  EXPECT_EQ(Victim("process-argument", R"("a \"b\\\" c\\")").ExitCode(), 17U);
}

TEST(ProcessTest, MissingProcessesAndProgramsAreReported) {
  constexpr DWORD kNoSuchProcess = 0x7FFFFFFC;
  EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, kNoSuchProcess), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);

  std::basic_string<WCHAR> missing = TEXT("C:\\no-such-program-of-ours.exe argument");
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  EXPECT_FALSE(CreateProcessW(nullptr, missing.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &process));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

}  // namespace
