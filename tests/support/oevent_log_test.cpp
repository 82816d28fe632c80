/// The logger as seen from outside: its mask and its source in the registry, and its file. What it
/// reports to the system's event log is tested where that can be read.
#include "support/oevent_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "common/product_log.h"
#include "common/test_thread.h"
#include "common/unique_name.h"
#include "platform/debug_listener.h"
#include "support/log.h"
#include "support/ofile.h"
#include "support/oregistry.h"
#include "support/scoped_handle.h"

namespace {

using testing::ElementsAre;

constexpr DWORD kAmpleMs = 60000;

/// A source with a mask, a file and registry keys of its own, all of which go at the end.
struct TestSource {
  explicit TestSource(DWORD mask) : file(name, mask) {}
  ~TestSource() {
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, Key("Application\\").wstring());
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, Key("System\\").wstring());
  }

  OString Key(const char* log) const {
    return OString("SYSTEM\\CurrentControlSet\\Services\\Eventlog\\") + log + name.c_str();
  }
  void DeleteMask() const { RegDeleteValueW(MaskKey().Get(), Widen(name).c_str()); }
  void SetMask(const std::string& bytes) const {
    RegSetValueExW(MaskKey().Get(), Widen(name).c_str(), 0, REG_BINARY,
                   reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
  }
  static ScopedKey MaskKey() {
    return ScopedKey(ORegistry().OpenKey("2:Software/Brennick/Drivers/DebugLogMasks", false));
  }

  const std::string name = OString(UniqueName(TEXT("Tagwright Test ")).c_str()).nstring();
  ProductLog file;
};

struct TestLog : TestSource, OEventLog {
  explicit TestLog(DWORD mask, DWORD type = kApplicationLog, TickSource maskClock = GetTickCount)
      : TestSource(mask), OEventLog(name.c_str(), type, maskClock) {}
};

/// A number in the registry; 0 when there is none of four bytes.
DWORD Number(const OString& path) {
  DWORD number = 0;
  return ORegistry().GetValue(path, &number, sizeof number) == 4 ? number : 0;
}

TEST(OEventLog, PutsTheDefaultMaskInPlaceOfNoneAndOfAnotherSize) {
  TestSource source(LogLevel::kCopyToFile);
  const OString key = "LOCAL_MACHINE:Software/Brennick/Drivers/DebugLogMasks/";
  const std::string ones(8, '\xFF');
  for (const DWORD size : {0U, 2U, 8U}) {
    size == 0 ? source.DeleteMask() : source.SetMask(ones.substr(0, size));
    OEventLog log(source.name.c_str(), 1);
    EXPECT_FALSE(log.IsLogEnabled(0x1000FFFF)) << size;
    EXPECT_EQ(Number(key + source.name.c_str()), 0xE0000000U);
  }
}

/// The debugger copy of a warning or an error leaves its line feed in the text.
TEST(OEventLog, WritesALineForEveryEvent) {
  TestLog log(LogLevel::kCopyToFile | LogLevel::kCopyToDebugger);
  log.LogInformationEvent("PipeServer::Run: Enter", 0, LogLevel::kDetailInfo);
  log.LogInformationEvent("plain", 0, 0);
  log.LogWarningEvent("careful", 0);
  log.LogErrorEvent("failed", 0);
  log.WriteEvent(EVENTLOG_WARNING_TYPE, "derived", 0, 0);
  log.WriteEvent(0x4000, "no type", 0, 0);
  EXPECT_THAT(log.file.Texts(),
              ElementsAre("DetailInfo: PipeServer::Run: Enter", "Info: plain", "Warnings: careful",
                          "", "Errors: failed", "", "Warnings: derived", "Unknown: no type"));
}

/// The time of day in the order in which texts compare.
std::string Now() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  return FormatTime(now, "%Y/%m/%d %H:%M:%S").nstring();
}

TEST(OEventLog, TellsWhenAndByWhomALineWasWritten) {
  for (const bool isLastError : {false, true}) {
    const auto write = [isLastError](OEventLog& log) {
      if (isLastError) return log.LogLastError("failed");
      log.LogErrorEvent("failed", 0);
    };
    TestLog log(LogLevel::kCopyToFile), silent(0);
    write(silent);
    EXPECT_EQ(silent.file.Content(), "");
    log.LogInformationEvent("makes the folder", 0, 0);
    const std::string before = Now();
    const DWORD ticks = GetTickCount();
    write(log);

    const std::regex form("(\\d\\d/\\d\\d)/(\\d{4})( \\d\\d:\\d\\d:\\d\\d), " + log.name +
                          ", Errors, Thread:0x" + FormatHex(GetCurrentThreadId()).nstring() +
                          ", (\\d{7})\\.(\\d{3}): failed");
    const std::string line = log.file.Lines().at(1);
    std::smatch match;
    ASSERT_TRUE(std::regex_match(line, match, form)) << line;
    const std::string time = match.str(2) + "/" + match.str(1) + match.str(3);
    EXPECT_LE(before, time);
    EXPECT_LE(time, Now());
    EXPECT_LE(std::stoul(match.str(4) + match.str(5)) - ticks, GetTickCount() - ticks);
  }
}

TEST(OEventLog, CopiesItsEventsToTheDebugger) {
  const auto listener = platform::DebugListener::Open();
  ASSERT_NE(listener, nullptr);
  TestLog log(LogLevel::kCopyToDebugger), silent(LogLevel::kCopyToFile);
  using Write = bool (*)(OEventLog&);
  for (const Write write :
       {Write{[](OEventLog& to) { return to.LogInformationEvent("event", 0, 0); }},
        Write{[](OEventLog& to) { return to.LogWarningEvent("event", 0); }},
        Write{[](OEventLog& to) { return to.LogErrorEvent("event", 0); }}}) {
    write(silent);
    EXPECT_EQ(listener->Next(0), std::nullopt);
    EXPECT_TRUE(write(log));
    const std::string copy = listener->Next(kAmpleMs).value_or("none");
    EXPECT_TRUE(std::regex_match(copy, std::regex("\\d{7}\\.\\d{3}: event\n"))) << copy;
  }
}

TEST(OEventLog, WaitsForTheFilesMutexWithEveryLine) {
  TestLog log(LogLevel::kCopyToFile);
  const ScopedHandle mutex(
      CreateMutexW(nullptr, TRUE, Widen("Brennick File Log Mutex for " + log.name).c_str()));
  TestThread writer([&] { return log.LogInformationEvent("line", 0, 0) ? 1U : 0U; });
  EXPECT_EQ(WaitForSingleObject(writer.Handle(), 100), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(log.file.Content(), "");
  ReleaseMutex(mutex.Get());
  writer.Join();
  EXPECT_EQ(log.file.Count(", line"), 1);
}

TEST(OEventLog, RegistersItsSourceUnderOneLogOnce) {
  // Whether it was not there.
  const auto create = [](const OString& path) {
    DWORD disposition = 0;
    ScopedKey key;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.wstring(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    key.Receive(), &disposition);
    return disposition == REG_CREATED_NEW_KEY;
  };
  for (const DWORD type : {1U, 2U}) {
    TestLog log(0, type);
    const OString own = log.Key(type == 1 ? "Application\\" : "System\\");
    const OString foreign = log.Key(type == 1 ? "System\\" : "Application\\");
    create(foreign);
    log.LogInformationEvent("registers", 0, 0);
    EXPECT_TRUE(create(foreign)) << "it was deleted";

    const OString path = OString("2:") + own + "/";
    for (const char* name : {"EventMessageFile", "CategoryMessageFile"}) {
      const OString file = ORegistry().GetString(path + name, "");
      EXPECT_THAT(file.nstring(), testing::MatchesRegex("C:\\\\.*\\\\bkevtmsg.dll"));
      EXPECT_EQ(ORegistry().GetValue(path + name, nullptr, 0), 2 * (file.GetLength() + 1));
    }
    EXPECT_EQ(Number(path + "TypesSupported"), 7U);
    EXPECT_EQ(Number(path + "CategoryCount"), 2U);
    OEventLog(log.name.c_str(), type).LogInformationEvent("is registered", 0, 0);
    EXPECT_FALSE(create(foreign)) << "nothing was touched";
    EXPECT_EQ(log.file.Content(), "") << "a mask without a copy";
  }
}

TEST(OEventLog, NamesEveryLevel) {
  for (const auto& [bit, name] : {std::pair{0x80000000U, "Errors"},
                                  {0x40000000U, "Warnings"},
                                  {0x20000000U, "Info"},
                                  {0x10000000U, "DetailInfo"}}) {
    EXPECT_STREQ(OEventLog::GetLevelName(bit), name);
  }
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(OEventLog::GetLevelName(1U << i), std::string("DetailInfo") + char('A' + i));
  }
  EXPECT_EQ(LogLevel::kCopyToDebugger | LogLevel::kCopyToFile, 0x0C000000U);
}

TEST(OEventLog, TellsTheDebuggerOfAFileThatCannotBeOpened) {
  const auto listener = platform::DebugListener::Open();
  ASSERT_NE(listener, nullptr);
  TestLog log(LogLevel::kCopyToFile);
  OString inItsPlace = OString("C:\\Log Files\\") + log.name.c_str() + ".txt";
  inItsPlace.Replace("Tagwright Test ", "Tagwright_Test_");
  ASSERT_TRUE(OFile::CreateDirectoryPath(inItsPlace));
  EXPECT_TRUE(log.LogInformationEvent("event", 0, 0));
  EXPECT_EQ(listener->Next(kAmpleMs).value_or("none"),
            "OEventLog::WriteEventToFile Unable to open C:\\BrennickLogs\\EventLog.txt\n");
  RemoveDirectoryW(inItsPlace.wstring());
}

DWORD g_nowMs = 0;

TEST(OEventLog, FollowsTheRegistryAfterFiveSeconds) {
  g_nowMs = 0xFFFFF000;  // The ticks wrap around meanwhile.
  const auto clock = [] { return g_nowMs; };
  TestLog changed(LogLevel::kErrors, 1, clock), deleted(LogLevel::kErrors, 1, clock);
  changed.file.SetMask(LogLevel::kWarnings);
  deleted.DeleteMask();
  g_nowMs += 5000;
  EXPECT_FALSE(changed.IsLogEnabled(LogLevel::kWarnings));
  EXPECT_FALSE(deleted.IsLogEnabled(LogLevel::kWarnings));
  g_nowMs += 1;
  EXPECT_TRUE(changed.IsLogEnabled(LogLevel::kWarnings));
  EXPECT_TRUE(deleted.IsLogEnabled(LogLevel::kWarnings));
  EXPECT_FALSE(changed.IsLogEnabled(static_cast<int>(LogLevel::kErrors)));
  EXPECT_TRUE(deleted.IsLogEnabled(static_cast<int>(LogLevel::kErrors)));
  changed.file.SetMask(LogLevel::kErrors);
  EXPECT_TRUE(changed.IsLogEnabled(LogLevel::kWarnings)) << "the next look is in five seconds";
}

TEST(Log, BuildsTextOnlyForALogThatWantsIt) {
  int built = 0;
  const auto text = [&] { return OString("built ") << ++built; };
  Log::Error(text);
  TestSource source(LogLevel::kErrors | LogLevel::kDetailInfoA | LogLevel::kCopyToFile);
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>(new OEventLog(source.name.c_str(), 1));
  Log::Warning(text);
  Log::Information(text);
  Log::Error(text);
  Log::Information("detail", LogLevel::kDetailInfoA);
  Log::Warning(OString("warned"), LogLevel::kErrors);
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>();
  EXPECT_THAT(source.file.Texts(),
              ElementsAre("Errors: built 1", "DetailInfoA: detail", "Warnings: warned"));
}

}  // namespace
