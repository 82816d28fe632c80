/// The logger as seen from outside: its mask and its source in the registry, and its file. What it
/// reports to the system's event log is tested where that can be read.
#include "support/oevent_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "common/product_log.h"
#include "common/unique_name.h"
#include "support/log.h"
#include "support/oregistry.h"
#include "support/scoped_key.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr DWORD kEverythingToFile = ProductLog::kEverythingToFile;
constexpr DWORD kErrorsToFile = LogLevel::kErrors | LogLevel::kCopyToFile;
constexpr DWORD kSystemLog = 2;

std::basic_string<WCHAR> Wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

std::string UniqueSource() {
  const auto name = UniqueName(TEXT("Tagwright Test "));
  return {name.begin(), name.end()};
}

/// The registry key of an event source under "Application" or "System".
std::basic_string<WCHAR> SourceKey(const char* log, const std::string& source) {
  return Wide(std::string("SYSTEM\\CurrentControlSet\\Services\\Eventlog\\") + log + "\\" + source);
}

/// A source of its own, with its mask and its file; all of it is taken back at the end.
struct TestSource {
  explicit TestSource(DWORD mask = kEverythingToFile) : file(name, mask) {}
  ~TestSource() {
    for (const char* log : {"Application", "System"}) {
      RegDeleteKeyW(HKEY_LOCAL_MACHINE, SourceKey(log, name).c_str());
    }
  }

  OString MaskPath() const {
    return OString("LOCAL_MACHINE:Software\\Brennick\\Drivers\\DebugLogMasks\\") + name.c_str();
  }
  DWORD StoredMask() const {
    DWORD mask = 0;
    EXPECT_EQ(ORegistry().GetValue(MaskPath(), &mask, sizeof mask), 4);
    return mask;
  }
  void DeleteMask() const {
    const ScopedKey key(ORegistry().OpenKey("2:Software/Brennick/Drivers/DebugLogMasks", false));
    EXPECT_EQ(RegDeleteValueW(key.Get(), Wide(name).c_str()), ERROR_SUCCESS);
  }

  const std::string name = UniqueSource();
  ProductLog file;
};

bool Matches(const std::string& text, const std::string& pattern) {
  return std::regex_match(text, std::regex(pattern));
}

TEST(OEventLog, StoresTheDefaultMaskAtTheFirstRun) {
  TestSource source;
  const auto expectDefault = [&] {
    OEventLog log(source.name.c_str(), 1);
    EXPECT_EQ(source.StoredMask(), 0xE0000000U);
    for (const DWORD level : {LogLevel::kErrors, LogLevel::kWarnings, LogLevel::kInfo}) {
      EXPECT_TRUE(log.IsLogEnabled(static_cast<int>(level)));
    }
    EXPECT_FALSE(log.IsLogEnabled(static_cast<int>(LogLevel::kDetailInfo | 0xFFFF)));
    log.LogErrorEvent("not for the file", 0);
  };
  source.DeleteMask();
  expectDefault();

  const ScopedKey key(ORegistry().OpenKey("2:Software/Brennick/Drivers/DebugLogMasks", false));
  const BYTE twoBytes[] = {1, 2};
  RegSetValueExW(key.Get(), Wide(source.name).c_str(), 0, REG_BINARY, twoBytes, sizeof twoBytes);
  expectDefault();
  EXPECT_THAT(source.file.Content(), IsEmpty());
}

TEST(OEventLog, KeepsAStoredMask) {
  TestSource source(kErrorsToFile);
  OEventLog log(source.name.c_str(), 1);
  EXPECT_EQ(source.StoredMask(), kErrorsToFile);
  EXPECT_TRUE(log.IsLogEnabled(static_cast<int>(LogLevel::kErrors)));
  EXPECT_FALSE(log.IsLogEnabled(static_cast<int>(LogLevel::kWarnings)));
  EXPECT_TRUE(log.IsLogEnabled(static_cast<int>(LogLevel::kErrors | LogLevel::kWarnings)));
}

TEST(OEventLog, NamesEveryBit) {
  for (int bit = 0; bit < 16; ++bit) {
    EXPECT_EQ(OEventLog::GetLevelName(1U << bit), std::string("DetailInfo") + char('A' + bit));
  }
  EXPECT_STREQ(OEventLog::GetLevelName(0x10000000), "DetailInfo");
  EXPECT_STREQ(OEventLog::GetLevelName(0x20000000), "Info");
  EXPECT_STREQ(OEventLog::GetLevelName(0x40000000), "Warnings");
  EXPECT_STREQ(OEventLog::GetLevelName(0x80000000), "Errors");
  for (const DWORD other : {0U, 3U, 0x00010000U, 0x04000000U, 0x08000000U, 0x90000000U}) {
    EXPECT_STREQ(OEventLog::GetLevelName(other), "Unknown");
  }
}

TEST(OEventLog, StampsTheTickCount) {
  const DWORD before = GetTickCount();
  const std::string prefix = OEventLog::GetDebugPrefix().nstring();
  const DWORD after = GetTickCount();
  ASSERT_TRUE(Matches(prefix, "\\d{7}\\.\\d{3}: ")) << prefix;
  const auto stamp = std::stoul(prefix.substr(0, 7) + prefix.substr(8, 3));
  EXPECT_LE(stamp - before, after - before);
}

TEST(OEventLog, WritesALineForEveryEvent) {
  TestSource source;
  OEventLog log(source.name.c_str(), 1);
  const auto now = [] {
    SYSTEMTIME time{};
    GetLocalTime(&time);
    return std::string(FormatTime(time, "%m/%d/%Y %H:%M:%S").nstring());
  };
  const std::string before = now();
  log.LogInformationEvent("PipeServer::Run: Enter", 0, LogLevel::kDetailInfo);
  const std::string after = now();
  log.LogInformationEvent("plain", 0, 0);
  log.LogWarningEvent("careful", 0);
  log.LogErrorEvent("failed", 0);
  log.WriteEvent(EVENTLOG_WARNING_TYPE, "derived", 0, 0);
  log.WriteEvent(0x4000, "no type", 0, 0);
  log.WriteEvent(EVENTLOG_ERROR_TYPE, "given", 0, LogLevel::kDetailInfoD);

  const std::string thread = FormatHex(GetCurrentThreadId()).nstring();
  const std::string rest =
      ", " + source.name + ", DetailInfo, Thread:0x" + thread + ", PipeServer::Run: Enter";
  const auto lines = source.file.Lines();
  ASSERT_EQ(lines.size(), 7U);
  EXPECT_TRUE(lines[0] == before + rest || lines[0] == after + rest) << lines[0];
  EXPECT_TRUE(Matches(lines[2], ".*, Warnings, Thread:0x[0-9A-F]{8}, \\d{7}\\.\\d{3}: careful"));
  EXPECT_TRUE(Matches(lines[3], ".*, Errors, Thread:0x[0-9A-F]{8}, \\d{7}\\.\\d{3}: failed"));
  EXPECT_THAT(
      source.file.Texts(),
      ElementsAre("DetailInfo: PipeServer::Run: Enter", "Info: plain", "Warnings: careful",
                  "Errors: failed", "Warnings: derived", "Unknown: no type", "DetailInfoD: given"));
}

TEST(OEventLog, DebuggerCopyLeavesItsLineFeedInErrorsAndWarnings) {
  TestSource source(kEverythingToFile | LogLevel::kCopyToDebugger);
  OEventLog log(source.name.c_str(), 1);
  log.LogInformationEvent("info", 0, 0);
  log.LogErrorEvent("error", 0);
  log.LogWarningEvent("warning", 0);
  EXPECT_THAT(source.file.Texts(),
              ElementsAre("Info: info", "Errors: error", "", "Warnings: warning", ""));
}

TEST(OEventLog, RegistersItsSourceUnderOneLogOnce) {
  for (const DWORD type : {OEventLog::kApplicationLog, kSystemLog}) {
    TestSource source;
    const bool application = type == OEventLog::kApplicationLog;
    const auto own = SourceKey(application ? "Application" : "System", source.name);
    const auto foreign = SourceKey(application ? "System" : "Application", source.name);
    const auto create = [](const std::basic_string<WCHAR>& path) {
      HKEY key = nullptr;
      EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                nullptr, &key, nullptr),
                ERROR_SUCCESS);
      return key;
    };
    const auto open = [](const std::basic_string<WCHAR>& path, ScopedKey& key) {
      return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_ALL_ACCESS, key.Receive());
    };
    RegCloseKey(create(foreign));
    OEventLog(source.name.c_str(), type).LogInformationEvent("registers", 0, 0);

    ScopedKey none;
    EXPECT_EQ(open(foreign, none), ERROR_FILE_NOT_FOUND);
    ScopedKey key;
    ASSERT_EQ(open(own, key), ERROR_SUCCESS);
    WCHAR directory[MAX_PATH] = {};
    GetSystemDirectoryW(directory, MAX_PATH);
    const auto messageFile = std::basic_string<WCHAR>(directory) + TEXT("\\bkevtmsg.dll");
    for (LPCWSTR name : {TEXT("EventMessageFile"), TEXT("CategoryMessageFile")}) {
      WCHAR path[MAX_PATH] = {};
      DWORD size = sizeof path, valueType = 0;
      EXPECT_EQ(RegQueryValueExW(key.Get(), name, nullptr, &valueType,
                                 reinterpret_cast<BYTE*>(path), &size),
                ERROR_SUCCESS);
      EXPECT_EQ(path, messageFile);
      EXPECT_EQ(size, (messageFile.size() + 1) * sizeof(WCHAR));
      EXPECT_EQ(valueType, DWORD{REG_SZ});
    }
    for (const auto& [name, expected] : {std::pair{TEXT("TypesSupported"), DWORD{7}},
                                         std::pair{TEXT("CategoryCount"), DWORD{2}}}) {
      DWORD number = 0, size = sizeof number;
      RegQueryValueExW(key.Get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
      EXPECT_EQ(number, expected);
    }

    // A source that is registered already is left as it is.
    RegDeleteValueW(key.Get(), TEXT("TypesSupported"));
    RegCloseKey(create(foreign));
    OEventLog(source.name.c_str(), type).LogInformationEvent("is registered", 0, 0);
    EXPECT_EQ(
        RegQueryValueExW(key.Get(), TEXT("TypesSupported"), nullptr, nullptr, nullptr, nullptr),
        ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(open(foreign, none), ERROR_SUCCESS);
  }
}

TEST(OEventLog, FollowsTheRegistryAfterFiveSeconds) {
  constexpr DWORD kLifetimeMs = 5000, kBoundMs = 60000;
  TestSource changed(LogLevel::kErrors), deleted(LogLevel::kErrors);
  const DWORD start = GetTickCount();
  OEventLog changedLog(changed.name.c_str(), 1), deletedLog(deleted.name.c_str(), 1);
  changed.file.SetMask(LogLevel::kWarnings);
  deleted.DeleteMask();

  const auto warns = [](OEventLog& log) {
    return log.IsLogEnabled(static_cast<int>(LogLevel::kWarnings));
  };
  const auto waitUntilItWarns = [&](OEventLog& log) {
    while (!warns(log) && GetTickCount() - start < kBoundMs) Sleep(1);
    EXPECT_TRUE(warns(log));
    EXPECT_GT(GetTickCount() - start, kLifetimeMs);
  };
  waitUntilItWarns(changedLog);
  EXPECT_FALSE(changedLog.IsLogEnabled(static_cast<int>(LogLevel::kErrors)));
  waitUntilItWarns(deletedLog);
  EXPECT_TRUE(deletedLog.IsLogEnabled(static_cast<int>(LogLevel::kErrors)));
}

TEST(OEventLog, LinesOfManyThreadsAndLogsStayWhole) {
  constexpr int kThreads = 4, kLines = 25;
  TestSource source;
  const std::string text(300, 'x');
  OEventLog shared(source.name.c_str(), 1);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, own = i % 2 == 0] {
      OEventLog log(source.name.c_str(), 1);
      for (int line = 0; line < kLines; ++line) {
        (own ? log : shared).LogInformationEvent(text.c_str(), 0, LogLevel::kDetailInfo);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(source.file.Texts(), testing::AllOf(testing::SizeIs(kThreads * kLines),
                                                  testing::Each("DetailInfo: " + text)));
}

TEST(Log, BuildsTextOnlyForALogThatWantsIt) {
  int built = 0;
  const auto text = [&] {
    ++built;
    return OString("built");
  };
  Log::Error(text);
  EXPECT_EQ(built, 0);

  TestSource source(kErrorsToFile | LogLevel::kDetailInfoA);
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>(new OEventLog(source.name.c_str(), 1));
  Log::Warning(text);
  Log::Information(text);
  EXPECT_EQ(built, 0);
  Log::Error(text);
  Log::Error("gated", LogLevel::kInfo);
  Log::Information("detail", LogLevel::kDetailInfoA);
  Log::Warning(OString("warned"), LogLevel::kErrors);
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>();
  Log::Error(text);
  EXPECT_EQ(built, 1);
  EXPECT_THAT(source.file.Texts(),
              ElementsAre("Errors: built", "DetailInfoA: detail", "Warnings: warned"));
}

}  // namespace
