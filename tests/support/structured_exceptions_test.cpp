/// Crashes inside an exception handler scope: what arrives, what is reported, and the dump file.
#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <limits>
#include <regex>
#include <tuple>

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
using testing::IsEmpty;
using testing::Not;

int* volatile nowhere = nullptr;
volatile int one = 1;
volatile int zero = 0;
volatile int sink = 0;

void Read() { sink = *nowhere; }
void Divide() { sink = one / zero; }
void (*volatile noFunction)() = nullptr;
void CallNothing() {
  noFunction();
  sink = 1;
}

int locals = 0;
struct Local {
  int number;
  ~Local() {
    volatile char room[2048];  // More than an overflowing stack has left.
    room[0] = 1;
    locals -= room[0];
  }
};
int Recurse(int depth) {
  const Local local{++locals};
  return zero == 0 ? Recurse(depth + 1) + local.number : 0;
}
void Overflow() { sink = Recurse(0); }

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
    {[] { *nowhere = 1; }, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {MeasureBesideALocal, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {CallNothing, EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {[] { sink = *reinterpret_cast<volatile int*>(std::uintptr_t{1} << 62); },
     EXCEPTION_ACCESS_VIOLATION, ERROR_INVALID_ADDRESS},
    {Divide, EXCEPTION_INT_DIVIDE_BY_ZERO, ERROR_INTERNAL_ERROR},
    {[] { sink = std::numeric_limits<int>::min() / -one; }, EXCEPTION_INT_OVERFLOW,
     ERROR_ARITHMETIC_OVERFLOW},
    {[] { asm volatile("hlt"); }, EXCEPTION_PRIV_INSTRUCTION, ERROR_UNIDENTIFIED_ERROR},
    {[] { __builtin_trap(); }, EXCEPTION_ILLEGAL_INSTRUCTION, ERROR_INTERNAL_ERROR},
    {[] { asm volatile("int3"); }, EXCEPTION_BREAKPOINT, ERROR_UNIDENTIFIED_ERROR},
    {Overflow, EXCEPTION_STACK_OVERFLOW, ERROR_STACK_OVERFLOW},
};

/// "" for a code that the system has no text for.
std::string TextOf(const OException& exception) {
  return exception.Message() != nullptr ? exception.Message() : "";
}
std::string SystemText(LONG code) { return TextOf(OException(code, nullptr, nullptr)); }

TEST(SeTranslation, EveryCodeHasItsErrorCodeAndText) {
  for (const auto& [code, errorCode, message] : {std::tuple{0xC0000006U, 487, SystemText(487)},
                                                 {0x80000002U, 487, SystemText(487)},
                                                 {0xC000001DU, 1359, "Illegal instruction."},
                                                 {0xC000008CU, 1287, SystemText(1287)},
                                                 {0xC000008DU, 1359, "Floating point error."},
                                                 {0xC0000093U, 1359, "Floating point error."},
                                                 {0xC0000094U, 1359, "Division by zero."}}) {
    EXCEPTION_POINTERS pointers{};
    try {
      ThrowStructuredException(code, &pointers);
    } catch (const OException& exception) {
      EXPECT_EQ(exception.ErrorCode(), errorCode) << std::hex << code;
      EXPECT_EQ(TextOf(exception), message);
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
            Overflow();
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
    static const std::regex reported("MiniDump File: ([^\r]*)");
    const std::string log = _log.Content();
    return {std::sregex_token_iterator(log.begin(), log.end(), reported, 1), {}};
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
  Report(CrashWithAMark);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_ADDRESS});
  Report(Divide);
  EXPECT_TRUE(_log.Has("Error: Division by zero."));
  EXPECT_EQ(_log.Count("Caught in [Worker::Run]"), 5);
  EXPECT_THAT(DumpFiles(),
              testing::ElementsAre(EndsWith("\\Brennick\\Drivers\\Dump\\bkcrash_0000.dmp"),
                                   EndsWith("_0001.dmp"), EndsWith("_0002.dmp"),
                                   EndsWith("_0001.dmp"), DumpFolder::Path("bkcrash_0003.dmp")));
  std::string mark;
  for (int i = 0; i < 24; ++i) mark += static_cast<char>('a' - i * one);
  EXPECT_THAT(DumpFolder::Content(DumpFiles()[3]), HasSubstr(mark)) << "the stack at the crash";
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
  EXPECT_EQ(_log.Count("Attemped to generate minidump file but failed"), 6);
  EXPECT_THAT(DumpFiles(), IsEmpty());
  UseLibrary(TEXT(""));
  Report(CrashWhileUnwinding);
  EXPECT_EQ(_log.Count("Caught in [Worker::Run]"), 7);
  EXPECT_EQ(DumpFiles().size(), 1U);
}

TEST_F(CrashReport, DumpsOfThreadsThatCrashTogetherHaveFilesOfTheirOwn) {
  const auto crash = [] { return Report(Read), 0U; };
  { TestThread first(crash), second(crash), third(crash); }
  EXPECT_THAT(DumpFiles(), testing::UnorderedElementsAre(EndsWith("0.dmp"), EndsWith("1.dmp"),
                                                         EndsWith("2.dmp")));
  constexpr std::uint32_t kThreadList = 3, kModuleList = 4, kException = 6, kSystemInfo = 7;
  for (const std::string& file : DumpFiles()) {
    const auto streams = DumpFolder::Streams(DumpFolder::Content(file));
    for (const auto stream : {kThreadList, kModuleList, kException, kSystemInfo}) {
      EXPECT_THAT(streams, testing::Contains(testing::Pair(stream, Not(IsEmpty()))));
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
