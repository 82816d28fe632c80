/// A debugger opens the dumps that the layer writes.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>

#include "common/dump_folder.h"
#include "common/victim.h"
#include "platform/posix/kernel/state_paths.h"
#include "support/thread_guard.h"

namespace {

using testing::ContainsRegex;

int* volatile nowhere = nullptr;
volatile int sink = 0;

[[gnu::noinline]] void FunctionThatCrashes() {
  sink = *nowhere;
  sink = 1;
}
[[gnu::noinline]] void FunctionThatCallsIt() {
  FunctionThatCrashes();
  sink = 2;
}

std::string OutputOf(const std::string& command) {
  std::string output;
  FILE* const pipe = popen(command.c_str(), "r");
  char piece[4096];
  while (std::fgets(piece, sizeof piece, pipe) != nullptr) output += piece;
  pclose(pipe);
  return output;
}

TEST(CrashDumps, TheDebuggerShowsWhereItCrashedAndHowItGotThere) {
  const DumpFolder dumps;
  OExceptionHandler handler("Worker::Run", 0);
  RunGuarded(handler, FunctionThatCallsIt);
  std::string dump;
  platform::ToNativePath(u"C:\\ProgramData\\Brennick\\Drivers\\Dump\\bkcrash_0000.dmp", dump);
  char program[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", program, sizeof program - 1), 0);
  const std::string output =
      OutputOf("lldb-14 --no-lldbinit --batch --core " + dump + " -o bt " + program + " 2>&1");
  EXPECT_THAT(output, ContainsRegex("frame #0: .*FunctionThatCrashes"));
  EXPECT_THAT(output, ContainsRegex("frame #1: .*FunctionThatCallsIt"));
  EXPECT_THAT(output, ContainsRegex("frame #[0-9]+: .*`main"));
  EXPECT_THAT(output, ContainsRegex("SIGSEGV"));
}

}  // namespace
