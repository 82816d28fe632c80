/// What the logger reports to the event log and to the debugger output, read where the layer keeps
/// them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <regex>
#include <string>

#include "common/debug_listener.h"
#include "common/event_log_file.h"
#include "common/product_log.h"
#include "common/unique_name.h"
#include "support/oevent_log.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr DWORD kSystemLog = 7;

class OEventLogReport : public testing::Test {
 protected:
  std::vector<nlohmann::json> Events(const char* log = "Application") const {
    return EventsOf(log, wideSource);
  }
  static bool IsStamped(const std::string& text, const std::string& message) {
    return std::regex_match(text, std::regex("\\d{7}\\.\\d{3}: " + message));
  }

  const std::u16string wideSource = UniqueName(TEXT("Reports "));
  const std::string source{wideSource.begin(), wideSource.end()};
  ProductLog file{source, 0};
};

TEST_F(OEventLogReport, EveryLogAndTypeHasItsEventId) {
  const struct {
    DWORD logType;
    const char* log;
    const char *information, *warning, *error;
  } cases[] = {
      {OEventLog::kApplicationLog, "Application", "0x4FFF0100", "0x8FFF0200", "0xCFFF0300"},
      {kSystemLog, "System", "0x40FF0400", "0x80FF0500", "0xC0FF0600"}};
  for (const auto& expected : cases) {
    OEventLog log(source.c_str(), expected.logType);
    EXPECT_TRUE(log.LogInformationEvent("text as it is", 0x10002, LogLevel::kDetailInfo));
    EXPECT_TRUE(log.LogWarningEvent("careful", 1));
    EXPECT_TRUE(log.LogErrorEvent("failed", 0));

    const auto events = Events(expected.log);
    ASSERT_THAT(events, SizeIs(3));
    EXPECT_EQ(events[0]["event_id"], expected.information);
    EXPECT_EQ(events[0]["type"], "Information");
    EXPECT_EQ(events[0]["text"], "text as it is");
    EXPECT_EQ(events[0]["category"], 2);
    EXPECT_EQ(events[1]["event_id"], expected.warning);
    EXPECT_EQ(events[1]["type"], "Warning");
    EXPECT_TRUE(IsStamped(events[1]["text"], "careful"));
    EXPECT_EQ(events[2]["event_id"], expected.error);
    EXPECT_EQ(events[2]["type"], "Error");
    EXPECT_TRUE(IsStamped(events[2]["text"], "failed"));
  }
}

TEST_F(OEventLogReport, CarriesItsDataBlock) {
  const DWORD before = GetTickCount();
  OEventLog(source.c_str(), 1).LogInformationEvent("", 0, LogLevel::kDetailInfoD);
  const auto events = Events();
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0]["text"], "");

  const std::string hex = events[0]["data"];
  ASSERT_THAT(hex, SizeIs(2 * sizeof(OEventData)));
  OEventData block;
  auto* bytes = reinterpret_cast<unsigned char*>(&block);
  for (std::size_t i = 0; i < sizeof block; ++i) {
    bytes[i] = static_cast<unsigned char>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
  }
  EXPECT_EQ(block.formatVersion, 3U);
  EXPECT_LE(block.tickCountMs - before, GetTickCount() - before);
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  EXPECT_GT(block.performanceCounter, 0U);
  EXPECT_LE(block.performanceCounter, static_cast<std::uint64_t>(now.QuadPart));
  EXPECT_EQ(block.level, LogLevel::kDetailInfoD);
  EXPECT_EQ(block.threadId, GetCurrentThreadId());
  EXPECT_EQ(block.processId, GetCurrentProcessId());
  EXPECT_EQ(block.reserved1 | block.reserved2 | block.reserved3 | block.reserved4, 0U);
  EXPECT_EQ(block.reserved5, 0U);
}

TEST_F(OEventLogReport, AnEventThatCannotBeReportedStillGoesToTheFile) {
  file.SetMask(LogLevel::kInfo | LogLevel::kCopyToFile);
  OEventLog log(source.c_str(), 1);
  EXPECT_FALSE(log.LogInformationEvent(std::string(40000, 'x').c_str(), 0, 0));
  EXPECT_THAT(Events(), IsEmpty());
  EXPECT_THAT(file.Texts(), testing::ElementsAre("Info: " + std::string(40000, 'x')));

  // A source without a name cannot be registered.
  EXPECT_FALSE(OEventLog("", 1).LogErrorEvent("nobody", 0));
}

TEST_F(OEventLogReport, CopiesToTheDebuggerWithStampAndOneLineFeed) {
  DebugListener debugger;
  OEventLog(source.c_str(), 1).LogErrorEvent("switched off", 0);
  EXPECT_EQ(debugger.Next(), "");

  file.SetMask(LogLevel::kCopyToDebugger);
  OEventLog log(source.c_str(), 1);
  log.LogInformationEvent("info", 0, 0);
  log.LogWarningEvent("warning", 0);
  log.LogErrorEvent("error", 0);
  for (const char* message : {"info\n", "warning\n", "error\n"}) {
    const std::string text = debugger.Next();
    EXPECT_TRUE(IsStamped(text, message)) << text;
  }
  EXPECT_TRUE(IsStamped(Events().back()["text"], "error\n"));
  EXPECT_EQ(Events()[1]["text"], "info");
}

TEST_F(OEventLogReport, SaysToTheDebuggerThatTheFileCannotBeOpened) {
  std::string name = source;
  std::replace(name.begin(), name.end(), ' ', '_');
  const std::filesystem::path obstacle =
      platform::StateFolder("drive_c") + "/Log Files/" + name + ".txt";
  std::filesystem::create_directories(obstacle);
  DebugListener debugger;
  file.SetMask(LogLevel::kCopyToFile);
  EXPECT_TRUE(OEventLog(source.c_str(), 1).LogInformationEvent("lost", 0, 0));
  EXPECT_EQ(debugger.Next(),
            "OEventLog::WriteEventToFile Unable to open C:\\BrennickLogs\\EventLog.txt\n");
  std::filesystem::remove(obstacle);
}

}  // namespace
