/// The logger as seen from outside: its mask and its source in the registry, and its file. What it
/// reports to the system's event log is tested where that can be read.
#include "support/oevent_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "common/product_log.h"
#include "common/unique_name.h"
#include "support/log.h"
#include "support/oregistry.h"
#include "support/scoped_handle.h"

namespace {

using testing::ElementsAre;

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
  void DeleteMask() const {
    const ScopedKey key(ORegistry().OpenKey("2:Software/Brennick/Drivers/DebugLogMasks", false));
    RegDeleteValueW(key.Get(), OString(name.c_str()).wstring());
  }

  const std::string name = OString(UniqueName(TEXT("Tagwright Test ")).c_str()).nstring();
  ProductLog file;
};

struct TestLog : TestSource, OEventLog {
  explicit TestLog(DWORD mask, DWORD type = kApplicationLog, TickSource maskClock = SystemTicks)
      : TestSource(mask), OEventLog(name.c_str(), type, maskClock) {}
};

TEST(OEventLog, StoresTheDefaultMaskAtTheFirstRun) {
  TestSource source(LogLevel::kCopyToFile);
  source.DeleteMask();
  OEventLog log(source.name.c_str(), 1);
  EXPECT_FALSE(log.IsLogEnabled(0x1000FFFF));
  DWORD mask = 0;
  const OString key = "LOCAL_MACHINE:Software/Brennick/Drivers/DebugLogMasks/";
  EXPECT_EQ(ORegistry().GetValue(key + source.name.c_str(), &mask, sizeof mask), 4);
  EXPECT_EQ(mask, 0xE0000000U);
}

/// The debugger copy of a warning or an error leaves its line feed in the text.
TEST(OEventLog, WritesALineForEveryEvent) {
  TestLog log(LogLevel::kCopyToFile | LogLevel::kCopyToDebugger);
  log.LogInformationEvent("PipeServer::Run: Enter", 0, LogLevel::kDetailInfo);
  log.LogInformationEvent("plain", 0, 0);
  log.LogWarningEvent("careful", 0);
  const DWORD before = GetTickCount();
  log.LogErrorEvent("failed", 0);
  const DWORD after = GetTickCount();
  log.WriteEvent(EVENTLOG_WARNING_TYPE, "derived", 0, 0);
  log.WriteEvent(0x4000, "no type", 0, 0);

  const std::string context = "\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d, " + log.name +
                              ", Errors, Thread:0x" + FormatHex(GetCurrentThreadId()).nstring();
  const std::string line = log.file.Lines().at(4);
  std::smatch stamp;
  ASSERT_TRUE(std::regex_match(line, stamp, std::regex(context + ", (\\d{7})\\.(\\d{3}): failed")));
  EXPECT_LE(std::stoul(stamp.str(1) + stamp.str(2)) - before, after - before);
  EXPECT_THAT(log.file.Texts(),
              ElementsAre("DetailInfo: PipeServer::Run: Enter", "Info: plain", "Warnings: careful",
                          "", "Errors: failed", "", "Warnings: derived", "Unknown: no type"));
}

TEST(OEventLog, RegistersItsSourceUnderOneLogOnce) {
  const auto create = [](const OString& path, ScopedKey& key) {
    DWORD disposition = 0;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.wstring(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    key.Receive(), &disposition);
    return disposition == REG_CREATED_NEW_KEY;
  };
  for (const DWORD type : {1U, 2U}) {
    TestLog log(0, type);
    const OString own = log.Key(type == 1 ? "Application\\" : "System\\");
    const OString foreign = log.Key(type == 1 ? "System\\" : "Application\\");
    ScopedKey before, again, after;
    create(foreign, before);
    log.LogInformationEvent("registers", 0, 0);
    EXPECT_TRUE(create(foreign, again)) << "it was deleted";

    const OString path = OString("2:") + own + "/";
    for (const char* name : {"EventMessageFile", "CategoryMessageFile"}) {
      EXPECT_THAT(ORegistry().GetString(path + name, "").nstring(),
                  testing::MatchesRegex("C:\\\\.*\\\\bkevtmsg.dll"));
    }
    DWORD types = 0;
    ORegistry().GetValue(path + "TypesSupported", &types, sizeof types);
    EXPECT_EQ(types, 7U);
    OEventLog(log.name.c_str(), type).LogInformationEvent("is registered", 0, 0);
    EXPECT_FALSE(create(foreign, after)) << "nothing was touched";
    EXPECT_EQ(log.file.Content(), "") << "a mask without a copy";
  }
}

DWORD g_nowMs = 0;

TEST(OEventLog, FollowsTheRegistryAfterFiveSeconds) {
  g_nowMs = 0xFFFFF000;  // The ticks wrap around meanwhile.
  const auto clock = [] { return g_nowMs; };
  TestLog changed(LogLevel::kErrors, 1, clock), deleted(LogLevel::kErrors, 1, clock);
  changed.file.SetMask(LogLevel::kWarnings);
  deleted.DeleteMask();
  g_nowMs += 5000;
  for (TestLog* log : {&changed, &deleted}) EXPECT_FALSE(log->IsLogEnabled(LogLevel::kWarnings));
  g_nowMs += 1;
  for (TestLog* log : {&changed, &deleted}) EXPECT_TRUE(log->IsLogEnabled(LogLevel::kWarnings));
  EXPECT_FALSE(changed.IsLogEnabled(static_cast<int>(LogLevel::kErrors)));
  EXPECT_TRUE(deleted.IsLogEnabled(static_cast<int>(LogLevel::kErrors)));
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
