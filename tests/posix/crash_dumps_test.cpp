/// What crashes leave on Linux: a debugger opens the dumps that the layer writes.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <unistd.h>
#include <unwind.h>

#include <cstdio>
#include <filesystem>

#include "common/dump_folder.h"
#include "common/test_thread.h"
#include "common/victim.h"
#include "platform/posix/kernel/state_paths.h"
#include "support/thread_procedure.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

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

/// Made up while the program runs, so that the program's file does not hold it.
void Mark(char (&text)[32], int step) {
  for (int i = 0; i < 32; ++i) text[i] = static_cast<char>('!' + i * step);
}
char inData[32];

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
  platform::NativePathOf(u"C:\\ProgramData\\Brennick\\Drivers\\Dump\\bkcrash_0000.dmp", dump);
  char program[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", program, sizeof program - 1), 0);
  const std::string output =
      OutputOf("lldb-14 --no-lldbinit --batch --core " + dump + " -o bt " + program + " 2>&1");
  EXPECT_THAT(output, ContainsRegex("frame #0: .*FunctionThatCrashes"));
  EXPECT_THAT(output, ContainsRegex("frame #1: .*FunctionThatCallsIt"));
  EXPECT_THAT(output, ContainsRegex("frame #[0-9]+: .*`main"));
  EXPECT_THAT(output, ContainsRegex("SIGSEGV"));
}

TEST(CrashDumps, HoldOtherThreadsStacksAndTheProgramsData) {
  const DumpFolder dumps;
  char onStack[32];
  Mark(onStack, 2);
  Mark(inData, 3);
  TestThread([&onStack] {
    OExceptionHandler handler("Worker::Run", 0);
    // What points there must not keep more than itself out of the dump.
    const void* const pointers[] = {onStack + 2048, inData};
    RunGuarded(handler, [&pointers] { sink = *nowhere + static_cast<int>(*pointers != nullptr); });
    return 0U;
  }).Join();
  const std::string dump = DumpFolder::Content(DumpFolder::Path("bkcrash_0000.dmp"));
  EXPECT_THAT(dump, HasSubstr(std::string(onStack, sizeof onStack)));
  EXPECT_THAT(dump, HasSubstr(std::string(inData, sizeof inData)));
}

/// A library is loaded from a file that becomes empty; then the process crashes.
const VictimRole kTruncated("truncated-module", [](VictimSide&, const std::string& copy) -> int {
  Dl_info library{};
  dladdr(reinterpret_cast<const void*>(&_Unwind_Backtrace), &library);
  std::filesystem::copy_file(library.dli_fname, copy);
  const bool isLoaded = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL) != nullptr;
  std::filesystem::resize_file(copy, 0);
  OExceptionHandler handler("Worker::Run", 0);
  RunGuarded(handler, FunctionThatCrashes);
  _exit(isLoaded ? 0 : 1);  // The library's own end would touch what is no longer there.
});

TEST(CrashDumps, AreWrittenWithAModuleThatIsTruncatedOnTheDisk) {
  const DumpFolder dumps;
  const std::string copy = platform::StateFolder("modules") + "/copy.so";
  EXPECT_EQ(Victim("truncated-module", copy).ExitCode(), 0U);
  EXPECT_THAT(DumpFolder::Content(DumpFolder::Path("bkcrash_0000.dmp")), HasSubstr("MDMP"));
  std::filesystem::remove(copy);
}

}  // namespace
