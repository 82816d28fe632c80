/// What the logger reports, read where the layer keeps the event log; lines of several processes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <list>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/product_log.h"
#include "common/resource_limit.h"
#include "common/victim.h"
#include "platform/posix/kernel/state_paths.h"
#include "support/oevent_log.h"

namespace {

namespace fs = std::filesystem;

const VictimRole kReporter("event-log-reporter", [](VictimSide& side, const std::string& source) {
  const std::string text(5000, 'x');
  OEventLog log(source.c_str(), OEventLog::kApplicationLog);
  side.Ready();
  side.WaitUntilReleased();
  for (int i = 0; i < 50; ++i) {
    if (!log.LogInformationEvent(text.c_str(), 0, 0)) return 1;
  }
  return 0;
});

class EventLogFile : public testing::Test {
 protected:
  /// Every entry of the source. A broken line throws.
  std::vector<nlohmann::json> Events(const std::string& log = "Application") const {
    std::ifstream lines(platform::StateFolder("eventlog") + "/" + log + ".jsonl");
    std::vector<nlohmann::json> events;
    for (std::string line; std::getline(lines, line);) {
      auto event = nlohmann::json::parse(line);
      if (event["source"] == source) events.push_back(std::move(event));
    }
    return events;
  }

  /// Reports one event, which goes to both files; whether it is in the event log.
  bool Report(const std::string& text) const {
    return OEventLog(source.c_str(), OEventLog::kApplicationLog)
        .LogInformationEvent(text.c_str(), 0, 0);
  }
  /// The texts in one of the files; every line in it has to be whole.
  std::vector<std::string> Texts(const fs::path& path) const {
    std::vector<std::string> texts;
    if (path == textFile) {
      for (const std::string& text : file.Texts()) texts.push_back(text.substr(text.find(' ') + 1));
    } else {
      for (const auto& event : Events()) texts.push_back(event["text"]);
    }
    return texts;
  }

  const fs::path eventFile = platform::StateFolder("eventlog") + "/Application.jsonl";
  const std::u16string unique = UniqueName(TEXT("Reports-"));
  const std::string source{unique.begin(), unique.end()};
  const fs::path textFile = platform::StateFolder("drive_c") + "/Log Files/" + source + ".txt";
  ProductLog file{source, LogLevel::kCopyToFile};
};

TEST_F(EventLogFile, HoldsEveryTypeOfBothLogs) {
  const std::array types{"Information", "Warning", "Error"};
  for (const auto& [type, name, ids] :
       {std::tuple{1U, "Application", std::array{"0x4FFF0100", "0x8FFF0200", "0xCFFF0300"}},
        {7U, "System", {"0x40FF0400", "0x80FF0500", "0xC0FF0600"}}}) {
    OEventLog log(source.c_str(), type);
    EXPECT_TRUE(log.LogInformationEvent(u"line\n\"quoted\" \u00E9 \xD800!", 0x10002, 0));
    EXPECT_TRUE(log.LogWarningEvent("careful", 1));
    EXPECT_TRUE(log.LogErrorEvent("failed", 0));

    const auto events = Events(name);
    ASSERT_EQ(events.size(), 3U);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(events[i]["event_id"], ids[i]);
      EXPECT_EQ(events[i]["type"], types[i]);
    }
    EXPECT_EQ(events[0]["text"], "line\n\"quoted\" \u00E9 \uFFFD!");
    EXPECT_EQ(events[0]["category"], 2);
    EXPECT_EQ(events[2]["text"].get<std::string>().substr(11), ": failed");
  }
}

/// The data of an event as the block that it has to be.
OEventData BlockOf(const nlohmann::json& event) {
  const std::string hex = event["data"];
  EXPECT_EQ(hex.size(), 2 * sizeof(OEventData));
  OEventData block;
  for (std::size_t i = 0; i < sizeof block; ++i) {
    reinterpret_cast<BYTE*>(&block)[i] = BYTE(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
  }
  return block;
}

std::uint64_t Counter() {
  LARGE_INTEGER counter{};
  QueryPerformanceCounter(&counter);
  return static_cast<std::uint64_t>(counter.QuadPart);
}

TEST_F(EventLogFile, CarriesTheDataBlock) {
  OEventLog log(source.c_str(), 1);
  const std::uint64_t counterBefore = Counter();
  const DWORD ticksBefore = GetTickCount();
  log.LogInformationEvent("", 0, LogLevel::kDetailInfoD);
  log.LogWarningEvent("", 0);
  log.LogLastError("the end");
  const DWORD ticks = GetTickCount() - ticksBefore;
  const std::uint64_t counters = Counter() - counterBefore;
  const auto events = Events();
  const DWORD levels[] = {LogLevel::kDetailInfoD, LogLevel::kWarnings, LogLevel::kErrors};
  ASSERT_EQ(events.size(), std::size(levels));
  for (std::size_t i = 0; i < std::size(levels); ++i) {
    const OEventData block = BlockOf(events[i]);
    EXPECT_EQ(block.formatVersion, 3U);
    EXPECT_LE(block.tickCountMs - ticksBefore, ticks);
    EXPECT_LE(block.performanceCounter - counterBefore, counters);
    EXPECT_EQ(block.level, levels[i]);
    EXPECT_EQ(block.threadId, GetCurrentThreadId());
    EXPECT_EQ(block.processId, GetCurrentProcessId());
    EXPECT_EQ(
        block.reserved1 | block.reserved2 | block.reserved3 | block.reserved4 | block.reserved5,
        0U);
  }
  EXPECT_EQ(events[2]["event_id"], "0xCFFF0300");
  EXPECT_EQ(events[2]["text"].get<std::string>().substr(11), ": the end");
}

TEST_F(EventLogFile, FileHoldsWhatAnUnusableSourceCannotReport) {
  ProductLog nameless("", LogLevel::kCopyToFile);
  EXPECT_FALSE(OEventLog("", OEventLog::kApplicationLog).LogWarningEvent("is kept", 0));
  EXPECT_EQ(nameless.Texts(), std::vector<std::string>{"Warnings: is kept"});
}

TEST_F(EventLogFile, LinesOfSeveralProcessesStayWholeInBothFiles) {
  std::list<Victim> reporters;
  for (int i = 0; i < 4; ++i) reporters.emplace_back("event-log-reporter", source).WaitUntilReady();
  for (Victim& reporter : reporters) reporter.Release();
  for (Victim& reporter : reporters) EXPECT_EQ(reporter.ExitCode(), 0U);

  const std::string text(5000, 'x');
  const auto events = Events();
  EXPECT_EQ(events.size(), 200U);
  for (const auto& event : events) EXPECT_EQ(event["text"], text);
  EXPECT_EQ(file.Texts(), std::vector<std::string>(200, "Info: " + text));
}

TEST_F(EventLogFile, LineThatAFullDiskCutsIsTakenBack) {
  EXPECT_TRUE(Report("first"));
  for (const fs::path& path : {eventFile, textFile}) {
    // As on a full disk a write takes what fits, and the next one fails.
    const ResourceLimit disk(RLIMIT_FSIZE, fs::file_size(path) + 20);
    EXPECT_FALSE(Report(path == eventFile ? "cut in the event log" : "cut in both"));
  }
  EXPECT_TRUE(Report("last"));
  EXPECT_EQ(Texts(eventFile), (std::vector<std::string>{"first", "last"}));
  EXPECT_EQ(Texts(textFile), (std::vector<std::string>{"first", "cut in the event log", "last"}));
}

TEST_F(EventLogFile, FifoInPlaceOfAFileHoldsNobodyUp) {
  EXPECT_TRUE(Report("first"));
  for (const fs::path& path : {eventFile, textFile}) {
    const std::string aside = path.string() + ".aside";
    fs::rename(path, aside);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(Report("other file"), path == textFile);
    fs::rename(aside, path);
  }
  for (const fs::path& path : {eventFile, textFile}) {
    EXPECT_EQ(Texts(path), (std::vector<std::string>{"first", "other file"})) << path;
  }
}

}  // namespace
