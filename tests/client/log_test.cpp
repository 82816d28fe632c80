/// What is read of the logs: in the event log's own form and in the file's.
#include <gmock/gmock.h>

#include <ctime>

#include "client/ctl/failure.h"
#include "client/ctl/since.h"
#include "client/log/event_log_reader.h"
#include "client/log/log_file_reader.h"
#include "common/product_log.h"
#include "platform/kept_event_log.h"
#include "support/oevent_log.h"

namespace {

using Tagwright::LogEvent;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;

constexpr const char* kSource = "Brennick Tagwright.Native";

/// Now, to a minute.
auto IsNow() {
  const std::int64_t nowMs = std::int64_t{std::time(nullptr)} * 1000;
  return Field(&LogEvent::timeMs, AllOf(testing::Gt(nowMs - 60000), testing::Lt(nowMs + 60000)));
}

TEST(LogFileReader, ReadsWhatIsNewLineByLine) {
  ProductLog file(kSource, LogLevel::kDefaultMask | LogLevel::kCopyToFile);
  Tagwright::LogFileReader reader(kSource);
  reader.ReadNew();
  OEventLog log(kSource, OEventLog::kApplicationLog);
  log.LogInformationEvent("first, with a comma", 0, LogLevel::kInfo);
  log.LogInformationEvent("second\nin two lines", 0, LogLevel::kInfo);
  EXPECT_THAT(reader.ReadNew(), ElementsAre(AllOf(Field(&LogEvent::text, "first, with a comma"),
                                                  Field(&LogEvent::level, LogLevel::kInfo),
                                                  Field(&LogEvent::threadId, GetCurrentThreadId()),
                                                  Field(&LogEvent::source, kSource), IsNow()),
                                            Field(&LogEvent::text, "second\nin two lines")));
  EXPECT_THAT(reader.ReadNew(), testing::IsEmpty());
}

TEST(EventLogReader, ReadsWhatIsNewUnlessTheSystemKeepsNothing) {
  Tagwright::EventLogReader reader;
  reader.SkipToEnd();
  OEventLog log(kSource, OEventLog::kApplicationLog);
  log.LogErrorEvent("first", 0);
  EXPECT_EQ(reader.ReadNew().size(), platform::KeepsEventLog() ? 1U : 0U);
  log.LogInformationEvent("second", 0, LogLevel::kInfo);
  if (!platform::KeepsEventLog()) return;
  EXPECT_THAT(
      reader.ReadNew(),
      ElementsAre(AllOf(Field(&LogEvent::text, "second"), Field(&LogEvent::level, LogLevel::kInfo),
                        Field(&LogEvent::processId, GetCurrentProcessId()), IsNow())));
}

TEST(Since, IsAnAgeOrAPointInLocalTime) {
  const std::int64_t now = Ctl::ParseSince("2026-11-23 06:30:15", 0);
  EXPECT_EQ(Tagwright::FormatLogTime(now), "2026-11-23 06:30:15.000");
  const std::pair<const char*, const char*> cases[] = {
      {"90s", "2026-11-23 06:28:45.000"},
      {"2h", "2026-11-23 04:30:15.000"},
      {"1d", "2026-11-22 06:30:15.000"},
      {"06:05", "2026-11-23 06:05:00.000"},
      {"06:05:59", "2026-11-23 06:05:59.000"},
      {"2026-11-20", "2026-11-20 00:00:00.000"},
      {"2026-11-20T07:01", "2026-11-20 07:01:00.000"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(Tagwright::FormatLogTime(Ctl::ParseSince(text, now)), expected) << text;
  }
  for (const char* text : {"", "10", "10x", "yesterday", "2026-11", "06:30 x", "-5m"}) {
    EXPECT_THROW(Ctl::ParseSince(text, now), Ctl::Failure) << text;
  }
}

}  // namespace
