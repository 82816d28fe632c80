#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "common/victim.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

const VictimRole kExits("process-exits", [](VictimSide& side, const std::string& exitCode) {
  side.Ready();
  side.WaitUntilReleased();
  return std::atoi(exitCode.c_str());
});

const VictimRole kExitProcess("process-exit-process",
                              [](VictimSide&, const std::string&) -> int { ExitProcess(17); });

/// Says by its exit code whether the argument arrived.
const VictimRole kArgument("process-argument", [](VictimSide&, const std::string& argument) {
  return argument == "a \"b\\\" c\\" ? 1 : 255;
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
  EXPECT_EQ(WaitForSingleObject(opened, 60000), WAIT_OBJECT_0);
  EXPECT_EQ(victim.ExitCode(), 7U);
  EXPECT_EQ(WaitForSingleObject(opened, 0), WAIT_OBJECT_0);
  CloseHandle(opened);
}

TEST(ProcessTest, EndsByItselfAndByForce) {
  EXPECT_EQ(Victim("process-exit-process").ExitCode(), 17U);
  Victim victim("process-exits", "7");
  victim.WaitUntilReady();
  victim.Kill(42);
  EXPECT_EQ(victim.ExitCode(), 42U);
}

TEST(ProcessTest, MissingProcessesAndProgramsAreReported) {
  constexpr DWORD kNoSuchProcess = 0x7FFFFFFC;
  EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, kNoSuchProcess), nullptr);
  EXPECT_EQ(GetLastError(), 87U);

  Text missing = TEXT("C:\\no-such-folder-of-ours\\program.exe argument");
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  EXPECT_FALSE(CreateProcessW(nullptr, missing.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &process));
  const DWORD error = GetLastError();
  EXPECT_TRUE(error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) << error;
}

TEST(ProcessTest, SnapshotShowsParentAndChild) {
  Victim victim("process-exits", "0");
  victim.WaitUntilReady();
  WCHAR path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const Text program = Text(path).substr(Text(path).rfind('\\') + 1);

  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  ASSERT_NE(snapshot, INVALID_HANDLE_VALUE);
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  int found = 0;
  for (BOOL more = Process32FirstW(snapshot, &entry); more;
       more = Process32NextW(snapshot, &entry)) {
    if (entry.th32ProcessID != victim.Id()) continue;
    ++found;
    EXPECT_EQ(entry.th32ParentProcessID, GetCurrentProcessId());
    EXPECT_EQ(Text(entry.szExeFile), program);
  }
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_FILES));
  EXPECT_EQ(found, 1);
  CloseHandle(snapshot);
}

TEST(ProcessTest, QuotedArgumentsArriveAsTheyWere) {
  EXPECT_EQ(Victim("process-argument", R"("a \"b\\\" c\\")").ExitCode(), 1U);
}

}  // namespace
