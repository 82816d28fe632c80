/// The parent of a process that looks for it when the parent has ended already.
#include "platform/parent_process.h"

#include <gtest/gtest.h>

#include "common/victim.h"
#include "support/process_utility.h"
#include "support/scoped_handle.h"

namespace {

using WideText = std::basic_string<WCHAR>;

/// Says once that it runs and, when it is released, once more if it finds its parent ended.
const VictimRole kOrphan("orphan", [](VictimSide& side, const std::string&) {
  platform::HoldParent();
  side.Ready();
  side.WaitUntilReleased();
  const ScopedHandle parent(OpenProcess(SYNCHRONIZE, FALSE, ProcessUtility::GetParentProcessId()));
  if (WaitForSingleObject(parent.Get(), 0) == WAIT_OBJECT_0) side.Ready();
  return 0;
});

/// Starts an orphan-to-be, which talks to the test over the pipe, and lives until it is killed.
const VictimRole kParent("parent", [](VictimSide& side, const std::string& pipePath) {
  WCHAR program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  ChildProcess orphan;
  orphan.Start(TEXT("\"") + WideText(program) + TEXT("\" --victim orphan ") + Widen(pipePath) +
               TEXT(" -"));
  side.WaitUntilReleased();
  return 0;
});

bool ReadSignal(HANDLE pipe) {
  char signal = 0;
  DWORD bytesRead = 0;
  return ReadFile(pipe, &signal, 1, &bytesRead, nullptr) != FALSE;
}

TEST(ParentProcess, IsFoundAndOpenedAlsoAfterItsEnd) {
  const WideText path = UniqueName(TEXT("\\\\.\\pipe\\orphan-"));
  const ScopedHandle pipe(
      CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 64, 64, 0, nullptr));
  {
    Victim parent("parent", std::string(path.begin(), path.end()));
    ConnectNamedPipe(pipe.Get(), nullptr);
    ASSERT_TRUE(ReadSignal(pipe.Get()));
  }
  DWORD written = 0;
  EXPECT_TRUE(WriteFile(pipe.Get(), "g", 1, &written, nullptr));
  EXPECT_TRUE(ReadSignal(pipe.Get()));
}

}  // namespace
