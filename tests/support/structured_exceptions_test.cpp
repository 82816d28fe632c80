/// Crashes inside an exception handler scope: what arrives, what is reported, and the dump file.
#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <limits>
#include <set>

#include "common/dump_folder.h"
#include "common/product_log.h"
#include "common/test_thread.h"
#include "common/victim.h"
#include "platform/fatal_crash.h"
#include "support/crash_guard.h"
#include "support/oevent_log.h"
#include "support/oregistry.h"
#include "support/scoped_handle.h"
#include "support/thread_procedure.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr char kReported[] = "MiniDump File: ";

int* volatile nowhere = nullptr;
volatile int one = 1;
volatile int zero = 0;
volatile int sink = 0;

void Read() { sink = *nowhere; }
void Write() { *nowhere = 1; }
void Divide() { sink = one / zero; }
void DivideTooFar() { sink = std::numeric_limits<int>::min() / -one; }
void Halt() { asm volatile("hlt"); }
void ReadNoAddress() { sink = *reinterpret_cast<volatile int*>(std::uintptr_t{1} << 62); }
void Trap() { __builtin_trap(); }
void Break() { asm volatile("int3"); }
void (*volatile noFunction)() = nullptr;
void CallNothing() {
  noFunction();
  sink = 1;
}
int Recurse(int depth) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(depth);
  return zero == 0 ? Recurse(depth + 1) + frame[0] : 0;
}
void Overflow() { sink = Recurse(0); }

int locals = 0;
struct Local {
  int number;
  ~Local() {
    volatile char room[2048];  // More than an overflowing stack has left.
    room[0] = 1;
    locals -= room[0];
  }
};
int RecurseWithLocal(int depth) {
  const Local local{++locals};
  return zero == 0 ? RecurseWithLocal(depth + 1) + local.number : 0;
}

void OverflowWithLocals() { sink = RecurseWithLocal(0); }

/// strlen is thought to throw nothing, so no table has a place for its crash.
void MeasureBesideALocal() {
  const Local local{++locals};
  sink = static_cast<int>(std::strlen(reinterpret_cast<const char*>(nowhere)));
}

struct Crash {
  void (*function)();
  DWORD code;
  LONG errorCode;
};
const Crash kCrashes[] = {
    {Read, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {Write, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {MeasureBesideALocal, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {CallNothing, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {ReadNoAddress, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {Divide, EXCEPTION_INT_DIVIDE_BY_ZERO, ERROR_INTERNAL_ERROR},
    {DivideTooFar, EXCEPTION_INT_OVERFLOW, ERROR_ARITHMETIC_OVERFLOW},
    {Halt, EXCEPTION_PRIV_INSTRUCTION, ERROR_UNIDENTIFIED_ERROR},
    {Trap, EXCEPTION_ILLEGAL_INSTRUCTION, ERROR_INTERNAL_ERROR},
    {Break, EXCEPTION_BREAKPOINT, ERROR_UNIDENTIFIED_ERROR},
    {Overflow, EXCEPTION_STACK_OVERFLOW, ERROR_STACK_OVERFLOW},
    {OverflowWithLocals, EXCEPTION_STACK_OVERFLOW, ERROR_STACK_OVERFLOW},
};

/// "" for a code that the system has no text for.
std::string TextOf(const OException& exception) {
  return exception.Message() != nullptr ? exception.Message() : "";
}
std::string SystemText(LONG code) { return TextOf(OException(code, nullptr, nullptr)); }

TEST(SeTranslation, EveryCodeHasItsErrorCodeAndText) {
  const struct {
    DWORD code;
    LONG errorCode;
    const char* message;
  } kCases[] = {
      {0xC0000005, 487, nullptr},
      {0xC0000006, 487, nullptr},
      {0x80000002, 487, nullptr},
      {0xC000001D, 1359, "Illegal instruction."},
      {0xC000008C, 1287, nullptr},
      {0xC000008D, 1359, "Floating point error."},
      {0xC0000093, 1359, "Floating point error."},
      {0xC0000094, 1359, "Division by zero."},
      {0xC0000095, 534, nullptr},
      {0xC00000FD, 1001, nullptr},
      {0x80000003, 1287, nullptr},
  };
  for (const auto& expected : kCases) {
    EXCEPTION_POINTERS pointers{};
    try {
      ThrowStructuredException(expected.code, &pointers);
    } catch (const OException& exception) {
      EXPECT_EQ(exception.ErrorCode(), expected.errorCode) << std::hex << expected.code;
      EXPECT_EQ(TextOf(exception), expected.message != nullptr ? std::string(expected.message)
                                                               : SystemText(expected.errorCode));
      EXPECT_EQ(exception.Pointers(), &pointers);
    }
  }
  EXPECT_EQ(OException(4711, nullptr, nullptr).Message(), nullptr) << "a code without a text";
}

/// What a handler scope of this thread makes of each crash, one after another; destructors on the
/// way have to run, and an inner scope or guard must leave the outer one's translator behind.
void SurviveEveryCrash(bool isGuarded) {
  const OExceptionHandler outer("outer", 0);
  for (const Crash& crash : kCrashes) {
    { const OExceptionHandler inner("inner", 0); }
    GuardCrashes([] {});
    EXPECT_EQ(OExceptionHandler::Innermost(), &outer);
    bool isUnwound = false;
    const auto act = [&] {
      const std::shared_ptr<void> local(nullptr, [&](void*) { isUnwound = true; });
      crash.function();
      ADD_FAILURE() << "no crash";
    };
    try {
      isGuarded ? GuardCrashes(act) : act();
    } catch (const OException& exception) {
      EXPECT_EQ(exception.Pointers()->ExceptionRecord->ExceptionCode, crash.code);
      EXPECT_EQ(exception.ErrorCode(), crash.errorCode);
      EXPECT_TRUE(isUnwound);
      locals = 0;
      if (!isGuarded && crash.code == EXCEPTION_STACK_OVERFLOW) _resetstkoflw();
    }
  }
}

TEST(StructuredExceptions, ArriveInTheCatchBlocksOfTheirThread) {
  for (const bool isGuarded : {true, false}) {
    SurviveEveryCrash(isGuarded);
    TestThread([=] { return SurviveEveryCrash(isGuarded), 0U; }).Join();
  }
}

/// Divides all ones by what lies in one kind of operand.
const struct {
  const char* operand;
  void (*divide)(ULONG_PTR divisor);
} kDivisions[] = {
    {"a second byte", [](ULONG_PTR d) { asm volatile("divb %%ch"
                                                     :
                                                     : "a"(-1), "c"(d << 8)); }},
    {"a word", [](ULONG_PTR d) { asm volatile("divw %%cx"
                                              :
                                              : "a"(-1), "d"(-1), "c"(d)); }},
    {"an extended register",
     [](ULONG_PTR d) {
       asm volatile("movq %2, %%r9; divl %%r9d" : : "a"(-1), "d"(-1), "c"(d) : "r9");
     }},
    {"memory by base, index and small displacement",
     [](ULONG_PTR d) {
       const ULONG_PTR numbers[] = {7, 7, d, 7};
       asm volatile("divq 8(%2,%3,8)"
                    :
                    : "a"(-1), "d"(-1), "c"(numbers), "D"(ULONG_PTR{1}), "m"(numbers));
     }},
    {"memory by large displacement",
     [](ULONG_PTR d) {
       asm volatile("divb -0x1000(%1)"
                    :
                    : "a"(-1), "c"(reinterpret_cast<BYTE*>(&d) + 0x1000), "m"(d));
     }},
    {"memory relative to the instruction",
     [](ULONG_PTR d) {
       static ULONG_PTR number;
       number = d;
       asm volatile("divq %2" : : "a"(-1), "d"(-1), "m"(number));
     }},
};

TEST(StructuredExceptions, TellAnOverflowFromADivisionByZero) {
  const OExceptionHandler handler("handler", 0);
  for (const auto& division : kDivisions) {
    for (const ULONG_PTR divisor : {0, 1}) {
      try {
        division.divide(divisor);
        ADD_FAILURE() << division.operand;
      } catch (const OException& exception) {
        const DWORD expected = divisor == 0 ? EXCEPTION_INT_DIVIDE_BY_ZERO : EXCEPTION_INT_OVERFLOW;
        EXPECT_EQ(exception.Pointers()->ExceptionRecord->ExceptionCode, expected)
            << division.operand;
      }
    }
  }
}

/// The stack ends in another instruction each time, some of which set up the function's frame.
TEST(StructuredExceptions, DestroyLocalsWhereverTheStackEnds) {
  constexpr unsigned kSmallStackBytes = 512 * 1024;
  constexpr std::size_t kAlignment = 16;
  for (std::size_t shift = kAlignment; shift <= 8 * kAlignment; shift += kAlignment) {
    TestThread(
        [shift] {
          const OExceptionHandler handler("handler", 0);
          static_cast<volatile char*>(__builtin_alloca(shift))[0] = 0;
          try {
            sink = RecurseWithLocal(0);
          } catch (const OException& exception) {
            EXPECT_EQ(exception.ErrorCode(), ERROR_STACK_OVERFLOW);
          }
          EXPECT_LE(locals, 1) << "the innermost may not have come to be";
          locals = 0;
          return 0U;
        },
        kSmallStackBytes)
        .Join();
  }
}

/// The failing instruction is the first that the catch block is for.
[[gnu::noinline, gnu::optimize("O2")]] bool Catches(volatile int* address) {
  try {
    *address = 1;
  } catch (const OException&) {
    return true;
  }
  return false;
}

TEST(StructuredExceptions, ArriveFromTheFirstInstructionOfATryBlock) {
  const OExceptionHandler handler("handler", 0);
  EXPECT_TRUE(Catches(nowhere));
}

/// Keeps the call in a table: what may throw needs a place for its exception.
void ThrowUnlessZero() {
  if (zero != 0) throw zero;
}
struct CrashesWhenDestroyed {
  ~CrashesWhenDestroyed() {
    const Local local{++locals};
    ThrowUnlessZero();
    Read();
  }
};
void CrashInADestructor() { const CrashesWhenDestroyed object; }
void CrashUnderNoexcept() noexcept {
  const Local local{++locals};
  ThrowUnlessZero();
  Divide();
}
void CrashWhileUnwinding() {
  const CrashesWhenDestroyed object;
  Divide();
}

/// Made up while the program runs, so that only this frame has it.
void CrashWithAMark() {
  volatile char mark[24];
  for (int i = 0; i < 24; ++i) mark[i] = static_cast<char>('a' - i * one);
  Read();
  sink = mark[0] == 'a' ? 1 : 0;
}

class CrashReport : public testing::Test {
 protected:
  static constexpr const char* kSource = "Tagwright Crash Test";

  ~CrashReport() override { UseLibrary(TEXT("")); }

  static void Report(const std::function<void()>& crash) {
    OExceptionHandler handler("Worker::Run", kThreadHandlerFlags);
    handler.SetEventLog(
        StdBrennick::shared_ptr<OEventLog>(new OEventLog(kSource, OEventLog::kApplicationLog)));
    RunGuarded(handler, crash);
  }

  /// The dump files that reports name, in the log's order.
  std::vector<std::string> DumpFiles() const {
    std::vector<std::string> files;
    for (const std::string& line : _log.Lines()) {
      const auto at = line.find(kReported);
      if (at == line.npos) continue;
      files.push_back(line.substr(at + std::strlen(kReported)));
      if (files.back().back() == '\r') files.back().pop_back();
    }
    return files;
  }

  static void UseLibrary(const std::basic_string<WCHAR>& name) {
    const ScopedKey key(ORegistry().OpenKey("2:Software/Brennick/Drivers/Debug", true));
    RegSetValueExW(key.Get(), TEXT("dbghelp"), 0, REG_SZ,
                   reinterpret_cast<const BYTE*>(name.c_str()),
                   static_cast<DWORD>((name.size() + 1) * sizeof(WCHAR)));
  }

  DumpFolder _dumps;
  ProductLog _log{kSource};
};

TEST_F(CrashReport, NamesTheDumpThatFillsTheFirstGap) {
  for (int i = 0; i < 3; ++i) Report(Read);
  DeleteFileW(Widen(DumpFolder::Path("bkcrash_0001.dmp")).c_str());
  UseLibrary(TEXT("no-such-library.dll"));  // The system's is used instead.
  char kept[24];
  for (int i = 0; i < 24; ++i) kept[i] = static_cast<char>('A' + i * one);
  Report(Read);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_ADDRESS});
  Report(Divide);
  EXPECT_TRUE(_log.Has("Error: Division by zero."));
  EXPECT_EQ(_log.Count("Caught in [Worker::Run]"), 5);
  EXPECT_THAT(DumpFiles(),
              testing::ElementsAre(EndsWith("\\Brennick\\Drivers\\Dump\\bkcrash_0000.dmp"),
                                   EndsWith("_0001.dmp"), EndsWith("_0002.dmp"),
                                   EndsWith("_0001.dmp"), DumpFolder::Path("bkcrash_0003.dmp")));
  EXPECT_THAT(DumpFolder::Content(DumpFiles()[3]), HasSubstr(std::string(kept, sizeof kept)));
}

TEST_F(CrashReport, ComesWhereNoExceptionFindsItsWayOut) {
  UseLibrary(TEXT("Shell32.dll"));  // A dump takes seconds under Wine: one is enough.
  const int count = std::uncaught_exceptions();
  for (void (*const crash)() :
       {&CrashInADestructor, static_cast<void (*)()>(&CrashUnderNoexcept), &CrashWhileUnwinding}) {
    for (int round = 0; round < 2; ++round) Report(crash);
    EXPECT_EQ(std::uncaught_exceptions(), count);
    EXPECT_EQ(std::current_exception(), nullptr);
  }
  UseLibrary(TEXT(""));
  Report(CrashWhileUnwinding);
  EXPECT_EQ(_log.Count("Caught in [Worker::Run]"), 7);
  EXPECT_EQ(DumpFiles().size(), 1U);
}

TEST_F(CrashReport, HasTheStackAsItWasAtTheCrash) {
  std::string mark;
  for (int i = 0; i < 24; ++i) mark += static_cast<char>('a' - i * one);
  Report(CrashWithAMark);
  EXPECT_THAT(DumpFolder::Content(DumpFiles().at(0)), HasSubstr(mark));
}

TEST_F(CrashReport, SaysWhenThereIsNoDump) {
  UseLibrary(TEXT("Shell32.dll"));
  Report(Read);
  EXPECT_TRUE(_log.Has("Attemped to generate minidump file but failed"));
  EXPECT_FALSE(_log.Mentions(kReported));
}

TEST_F(CrashReport, DumpsOfThreadsThatCrashTogetherHaveFilesOfTheirOwn) {
  std::vector<std::unique_ptr<TestThread>> threads;
  constexpr std::size_t kThreads = 3;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.push_back(std::make_unique<TestThread>([] { return Report(Read), 0U; }));
  }
  threads.clear();
  const auto files = DumpFiles();
  EXPECT_EQ(std::set<std::string>(files.begin(), files.end()).size(), kThreads);
  constexpr std::uint32_t kThreadList = 3, kModuleList = 4, kException = 6, kSystemInfo = 7;
  for (const std::string& file : files) {
    const auto streams = DumpFolder::Streams(DumpFolder::Content(file));
    for (const auto stream : {kThreadList, kModuleList, kException, kSystemInfo}) {
      EXPECT_TRUE(streams.count(stream) != 0 && !streams.at(stream).empty()) << stream;
    }
  }
}

const VictimRole kHangingReporter("hanging-reporter", [](VictimSide&, const std::string&) {
  platform::SetFatalCrashHandler([](EXCEPTION_POINTERS*) { Sleep(INFINITE); });
  std::abort();
  return 0;
});

TEST(FatalCrash, AHangingReportDoesNotKeepTheProcess) {
  EXPECT_NE(Victim("hanging-reporter").ExitCode(), 0U);
}

}  // namespace
