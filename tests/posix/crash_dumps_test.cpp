/// What crashes leave on Linux: a debugger opens the dumps that the layer writes.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <unwind.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "common/dump_folder.h"
#include "common/test_thread.h"
#include "common/victim.h"
#include "platform/posix/crashes/minidump_format.h"
#include "platform/posix/kernel/state_paths.h"
#include "support/mini_dump_writer.h"
#include "support/thread_procedure.h"

namespace {

namespace format = platform::minidump;
using format::StreamType;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

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

/// The records of a dump's file.
struct Dump {
  std::string bytes = DumpFolder::Content(DumpFolder::Path("bkcrash_0000.dmp"));
  std::map<std::uint32_t, std::string> streams = DumpFolder::Streams(bytes);

  template <class Record>
  static Record Read(const std::string& from, std::size_t at = 0) {
    Record record{};
    if (at + sizeof record <= from.size()) std::memcpy(&record, from.data() + at, sizeof record);
    return record;
  }
  const std::string& Stream(StreamType type) { return streams[static_cast<DWORD>(type)]; }
  template <class Record>
  std::vector<Record> List(StreamType type) {
    std::vector<Record> records(Read<DWORD>(Stream(type)));
    for (std::size_t i = 0; i < records.size(); ++i) {
      records[i] = Read<Record>(Stream(type), sizeof(DWORD) + i * sizeof(Record));
    }
    return records;
  }
  std::string At(const format::Location& place) const {
    EXPECT_EQ(place.offset % 8, 0U);
    EXPECT_LE(place.offset + place.sizeBytes, bytes.size());
    return bytes.substr(place.offset, place.sizeBytes);
  }
  std::string Text(DWORD offset) const {
    std::string text;
    for (DWORD i = 0; i < Read<DWORD>(bytes, offset); i += 2) text += bytes[offset + 4 + i];
    return text + bytes[offset + 4 + 2 * text.size()];  // Its NUL.
  }
  /// What the memory held at an address; empty when it is not in the dump.
  std::string Memory(std::uint64_t address, std::size_t size) {
    for (const auto& range : List<format::MemoryDescriptor>(StreamType::kMemoryList)) {
      if (address - range.start >= range.memory.sizeBytes) continue;
      return At(range.memory).substr(address - range.start, size);
    }
    return {};
  }
};

/// Crashes with numbers of their own in the registers, and a pointer in the last one, writing to
/// 0x4321.
[[gnu::noinline]] void CrashWithMarkedRegisters(const char* pointer) {
  asm volatile(
      "mov %0, %%r15; push $0x14; push $0x13; push $0x12; push $0x11; push $0x10; push $9; push "
      "$8\n"
      "pop %%r8; pop %%r9; pop %%r10; pop %%r11; pop %%r12; pop %%r13; pop %%r14\n"
      "mov $1, %%eax; mov $2, %%ebx; mov $3, %%ecx; mov $4, %%edx; mov $5, %%esi\n"
      "mov $0x4321, %%edi; movl $0, (%%rdi)"
      :
      : "m"(pointer)
      : "rax", "rbx", "rcx", "rdx", "rsi", "rdi", "r8", "r9", "r10", "r11", "r12", "r13", "r14",
        "r15", "memory");
}

std::string ContentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A thread that waits, with a mark on its stack, while it lives.
class WaitingThread {
 public:
  WaitingThread() { EXPECT_EQ(WaitForSingleObject(_waits, TestThread::kBoundMs), WAIT_OBJECT_0); }
  ~WaitingThread() { SetEvent(_done); }
  std::uint64_t Place() const { return _place; }
  std::string Mark() const { return {_mark, sizeof _mark}; }

 private:
  const HANDLE _done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE _waits = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  char _mark[32];
  std::uint64_t _place = 0;
  TestThread _thread{[this] {
    char mark[32];
    ::Mark(mark, 1);
    std::memcpy(_mark, mark, sizeof mark);
    _place = reinterpret_cast<std::uint64_t>(mark);
    SetEvent(_waits);
    return WaitForSingleObject(_done, TestThread::kBoundMs);
  }};
};

/// Two pages, of which the first may only be read: so the second is a mapping of its own.
class MarkedPage {
 public:
  MarkedPage() {
    mprotect(_pages, kBytes, PROT_READ);
    Mark(*reinterpret_cast<char(*)[32]>(Data()), 2);
  }
  ~MarkedPage() { munmap(_pages, 2 * kBytes); }
  char* Data() const { return _pages + kBytes; }

 private:
  static constexpr std::size_t kBytes = 4096;
  char* const _pages = static_cast<char*>(
      mmap(nullptr, 2 * kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
};

void ExpectHeader(const Dump& dump, DWORD before) {
  const auto header = Dump::Read<format::Header>(dump.bytes);
  EXPECT_EQ(header.version, 0xA793U);
  EXPECT_EQ(header.flags, ULONGLONG{kDumpType});
  EXPECT_LE(header.timeSeconds - before, static_cast<DWORD>(time(nullptr)) - before);
  EXPECT_EQ(dump.streams.size(), 8U);
}

void ExpectSystem(Dump& dump) {
  const auto system = Dump::Read<format::SystemInfo>(dump.Stream(StreamType::kSystemInfo));
  utsname name{};
  uname(&name);
  EXPECT_EQ(system.processorArchitecture, 9);
  EXPECT_EQ(system.processorCount, sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_EQ(system.platformId, 0x8201U);
  EXPECT_EQ(dump.Text(system.servicePackOffset), name.version + std::string(1, 0));
  const std::string maps = ContentOf("/proc/self/maps");
  EXPECT_THAT(dump.Stream(StreamType::kLinuxMaps), StartsWith(maps.substr(0, maps.find('\n'))));
  EXPECT_THAT(dump.Stream(StreamType::kLinuxProcStatus), StartsWith("Name:\ttest_posix\n"));
  EXPECT_THAT(dump.Stream(StreamType::kLinuxCpuInfo), StartsWith("processor\t: 0\n"));
}

/// The exception; its registers.
CONTEXT ExpectException(Dump& dump) {
  const auto exception = Dump::Read<format::ExceptionStream>(dump.Stream(StreamType::kException));
  EXPECT_EQ(exception.threadId, GetCurrentThreadId());
  EXPECT_EQ(exception.code, DWORD{SIGSEGV});
  EXPECT_EQ(exception.flags, EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(exception.address, 0x4321U);
  EXPECT_EQ(exception.parameterCount, 2U);
  EXPECT_EQ(exception.parameters[0], 1U);
  EXPECT_EQ(exception.parameters[1], 0x4321U);
  const auto crashed = Dump::Read<format::ThreadRecord>(dump.Stream(StreamType::kThreadList), 4);
  EXPECT_EQ(crashed.id, exception.threadId);
  EXPECT_EQ(crashed.context.offset, exception.context.offset);
  return Dump::Read<CONTEXT>(dump.At(exception.context));
}

void ExpectRegisters(const CONTEXT& context, const char* pointer) {
  EXPECT_THAT(
      (std::vector<ULONGLONG>{context.Rax, context.Rbx, context.Rcx, context.Rdx, context.Rsi,
                              context.Rdi, context.R8, context.R9, context.R10, context.R11,
                              context.R12, context.R13, context.R14, context.R15}),
      ElementsAre(1, 2, 3, 4, 5, 0x4321, 8, 9, 0x10, 0x11, 0x12, 0x13, 0x14,
                  reinterpret_cast<ULONGLONG>(pointer)));
  WORD segments[4];
  asm("mov %%cs, %0; mov %%ss, %1; mov %%fs, %2; mov %%gs, %3"
      : "=r"(segments[0]), "=r"(segments[1]), "=r"(segments[2]), "=r"(segments[3]));
  EXPECT_THAT(segments, ElementsAre(context.SegCs, context.SegSs, context.SegFs, context.SegGs));
  EXPECT_EQ(context.ContextFlags, 0x0010000FU);
  EXPECT_EQ(context.MxCsr & 0x1F80, 0x1F80U);
  EXPECT_EQ(Dump::Read<WORD>(std::string(reinterpret_cast<const char*>(context.FltSave), 2)),
            0x37F);
}

void ExpectThreads(Dump& dump) {
  std::vector<std::string> threads, tasks;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    tasks.push_back(task.path().filename());
  }
  for (const auto& thread : dump.List<format::ThreadRecord>(StreamType::kThreadList)) {
    threads.push_back(std::to_string(thread.id));
    const auto registers = Dump::Read<CONTEXT>(dump.At(thread.context));
    EXPECT_EQ(registers.Rsp - 128, thread.stack.start) << thread.id;
    EXPECT_GT(dump.At(thread.stack.memory).size(), 256U);
  }
  EXPECT_THAT(threads, testing::UnorderedElementsAreArray(tasks));
}

void ExpectModules(Dump& dump) {
  const std::string maps = '\n' + ContentOf("/proc/self/maps");
  bool isOwnThere = false;
  for (const auto& module : dump.List<format::ModuleRecord>(StreamType::kModuleList)) {
    char line[32];
    std::snprintf(line, sizeof line, "\n%llx-", static_cast<unsigned long long>(module.base));
    EXPECT_THAT(maps, HasSubstr(line));
    std::snprintf(line, sizeof line, "-%llx ",
                  static_cast<unsigned long long>(module.base + module.sizeBytes));
    EXPECT_THAT(maps, HasSubstr(line));
    const std::string path = dump.Text(module.nameOffset).c_str();
    if (path == "[vdso]") continue;
    const std::string id = dump.At(module.codeView);
    EXPECT_THAT(id, StartsWith("LEpB"));
    EXPECT_EQ(id.size(), 24U);
    EXPECT_THAT(ContentOf(path), HasSubstr(std::string("GNU\0", 4) + id.substr(4))) << path;
    isOwnThere |= path == std::filesystem::read_symlink("/proc/self/exe");
  }
  EXPECT_TRUE(isOwnThere);
}

TEST(CrashDumps, TellTheCrashRecordByRecord) {
  const DumpFolder dumps;
  const WaitingThread other;
  const MarkedPage page;
  const auto before = static_cast<DWORD>(time(nullptr));
  Mark(inData, 3);
  const auto data = reinterpret_cast<std::uint64_t>(inData);
  OExceptionHandler handler("Worker::Run", 0);
  EXPECT_FALSE(RunGuarded(handler, [&] {
    // What points there must not keep more than itself out of the dump.
    const std::uint64_t pointers[] = {other.Place() + 2048, data};
    sink = static_cast<int>(pointers[0] + pointers[1]);
    CrashWithMarkedRegisters(page.Data());
  }));

  Dump dump;
  ExpectHeader(dump, before);
  ExpectSystem(dump);
  const CONTEXT context = ExpectException(dump);
  ExpectRegisters(context, page.Data());
  ExpectThreads(dump);
  ExpectModules(dump);
  const std::string code(reinterpret_cast<const char*>(context.Rip - 128), 256);
  EXPECT_EQ(dump.Memory(context.Rip - 128, 256), code);
  EXPECT_EQ(dump.Memory(other.Place(), other.Mark().size()), other.Mark());
  EXPECT_EQ(dump.Memory(data, sizeof inData), std::string(inData, sizeof inData));
  EXPECT_EQ(dump.Memory(reinterpret_cast<std::uint64_t>(page.Data()), 32),
            std::string(page.Data(), 32));
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
