/// The event log's files: what a line holds, which file it goes to, and lines of several processes.
#include "common/event_log_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "common/unique_name.h"
#include "common/victim.h"
#include "platform/posix/kernel/text.h"

namespace {

using testing::Each;
using testing::SizeIs;

constexpr int kEvents = 50;
const std::u16string kLongText(20000, u'x');

BOOL Report(HANDLE log, const std::u16string& text, WORD type = EVENTLOG_ERROR_TYPE,
            WORD stringCount = 1) {
  LPCWSTR strings[] = {text.c_str(), text.c_str()};
  BYTE data[] = {0x00, 0x7F, 0xFF};
  return ReportEventW(log, type, 3, 0xCFFF0300, nullptr, stringCount, sizeof data, strings, data);
}

const VictimRole kReporter("event-log-reporter", [](VictimSide& side, const std::string& source) {
  const HANDLE log = RegisterEventSourceW(nullptr, platform::ToUtf16(source).c_str());
  side.Ready();
  side.WaitUntilReleased();
  for (int i = 0; i < kEvents; ++i) {
    if (!Report(log, kLongText)) return 1;
  }
  return DeregisterEventSource(log) ? 0 : 2;
});

class EventLogFile : public testing::Test {
 protected:
  const std::u16string source = UniqueName(TEXT("Source-"));
};

TEST_F(EventLogFile, HoldsEverythingOfAnEvent) {
  const HANDLE log = RegisterEventSourceW(nullptr, source.c_str());
  ASSERT_TRUE(Report(log, u"line\n\"quoted\" \u00E9 \xD800!"));
  ASSERT_TRUE(Report(log, u"", EVENTLOG_WARNING_TYPE));
  ASSERT_TRUE(Report(log, u"", EVENTLOG_INFORMATION_TYPE));
  EXPECT_TRUE(DeregisterEventSource(log));

  const auto events = EventsOf("Application", source);
  ASSERT_THAT(events, SizeIs(3));
  const auto& event = events[0];
  EXPECT_EQ(event["text"], "line\n\"quoted\" \u00E9 \uFFFD!");
  EXPECT_EQ(event["category"], 3);
  EXPECT_EQ(event["event_id"], "0xCFFF0300");
  EXPECT_EQ(event["data"], "007FFF");
  EXPECT_TRUE(std::regex_match(
      event["time"].get<std::string>(),
      std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}[+-]\\d\\d:\\d\\d")));
  EXPECT_EQ(event["type"], "Error");
  EXPECT_EQ(events[1]["type"], "Warning");
  EXPECT_EQ(events[2]["type"], "Information");
}

TEST_F(EventLogFile, RefusesWhatItDoesNotKnow) {
  EXPECT_EQ(RegisterEventSourceW(nullptr, u""), nullptr);
  EXPECT_EQ(RegisterEventSourceW(u"server", source.c_str()), nullptr);
  const HANDLE log = RegisterEventSourceW(nullptr, source.c_str());
  EXPECT_FALSE(Report(log, u"type", 8));
  EXPECT_FALSE(Report(log, u"two strings", EVENTLOG_ERROR_TYPE, 2));
  EXPECT_FALSE(Report(log, std::u16string(31840, u'x')));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_TRUE(DeregisterEventSource(log));
  EXPECT_FALSE(Report(log, u"stale"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_FALSE(DeregisterEventSource(log));
  EXPECT_THAT(EventsOf("Application", source), SizeIs(0));
}

TEST_F(EventLogFile, KeepsTheLinesOfSeveralProcessesWhole) {
  std::vector<std::unique_ptr<Victim>> reporters;
  for (int i = 0; i < 4; ++i) {
    reporters.push_back(std::make_unique<Victim>("event-log-reporter", platform::ToUtf8(source)));
    reporters.back()->WaitUntilReady();
  }
  for (auto& reporter : reporters) reporter->Release();
  for (auto& reporter : reporters) EXPECT_EQ(reporter->ExitCode(), 0U);

  std::vector<std::string> texts;
  for (const auto& event : EventsOf("Application", source)) texts.push_back(event["text"]);
  EXPECT_THAT(texts, SizeIs(reporters.size() * kEvents));
  EXPECT_THAT(texts, Each(platform::ToUtf8(kLongText)));
}

}  // namespace
