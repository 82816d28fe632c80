/// The event log read through the calls for it, against what was reported.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace {

class EventLogReading : public testing::Test {
 protected:
  ~EventLogReading() override {
    CloseEventLog(log);
    DeregisterEventSource(source);
  }

  void Report(WORD type, std::u16string text, const std::string& data) {
    LPCWSTR strings[] = {text.c_str()};
    std::string bytes = data;
    ASSERT_TRUE(ReportEventW(source, type, 3, 0xCFFF0300, nullptr, 1,
                             static_cast<DWORD>(bytes.size()), strings, bytes.data()));
  }

  /// The last error; the records follow in `buffer`.
  DWORD Read(DWORD number, DWORD size) {
    buffer.assign(size, '\0');
    const BOOL read = ReadEventLogW(log, EVENTLOG_SEEK_READ | EVENTLOG_FORWARDS_READ, number,
                                    buffer.data(), size, &done, &needed);
    return read ? ERROR_SUCCESS : GetLastError();
  }
  EVENTLOGRECORD Record(DWORD at) const {
    EVENTLOGRECORD record;
    std::memcpy(&record, buffer.data() + at, sizeof record);
    return record;
  }
  std::u16string Text(DWORD at) const {
    return reinterpret_cast<const char16_t*>(buffer.data() + at);
  }
  static std::string LastLine() {
    std::ifstream file(std::string(std::getenv("TAGWRIGHT_ROOT")) + "/eventlog/Application.jsonl");
    std::string last;
    for (std::string line; std::getline(file, line);) last = line;
    return last;
  }
  DWORD Count() const {
    DWORD count = 0;
    EXPECT_TRUE(GetNumberOfEventLogRecords(log, &count));
    return count;
  }

  const HANDLE log = OpenEventLogW(nullptr, u"Application");
  const HANDLE source = RegisterEventSourceW(nullptr, u"Reading \u00E9");
  std::vector<char> buffer;
  DWORD done = 0;
  DWORD needed = 0;
};

TEST_F(EventLogReading, FindsWhatWasReported) {
  const DWORD before = Count();
  Report(EVENTLOG_ERROR_TYPE, u"first\n\u20AC", std::string("\x01\xFF\x00", 3));
  Report(EVENTLOG_WARNING_TYPE, u"second", "");
  ASSERT_EQ(Count(), before + 2);
  DWORD oldest = 0;
  EXPECT_TRUE(GetOldestEventLogRecord(log, &oldest) && oldest == 1);

  ASSERT_EQ(Read(before + 1, 4096), DWORD{ERROR_SUCCESS});
  const EVENTLOGRECORD first = Record(0);
  EXPECT_EQ(first.Reserved, DWORD{0x654C664C});
  EXPECT_EQ(first.NumStrings, 1);
  EXPECT_EQ(first.UserSidOffset, first.StringOffset);
  EXPECT_EQ(first.RecordNumber, before + 1);
  EXPECT_EQ(first.EventType, EVENTLOG_ERROR_TYPE);
  EXPECT_EQ(first.EventID, 0xCFFF0300);
  EXPECT_EQ(first.EventCategory, 3);
  EXPECT_EQ(Text(sizeof first), u"Reading \u00E9");
  EXPECT_EQ(Text(first.StringOffset), u"first\n\u20AC");
  EXPECT_EQ(std::string(buffer.data() + first.DataOffset, first.DataLength),
            std::string("\x01\xFF\x00", 3));
  const EVENTLOGRECORD second = Record(first.Length);
  EXPECT_EQ(second.RecordNumber, before + 2);
  EXPECT_EQ(second.EventType, EVENTLOG_WARNING_TYPE);
  EXPECT_EQ(Text(first.Length + second.StringOffset), u"second");
  EXPECT_EQ(done, first.Length + second.Length);

  EXPECT_EQ(Read(before + 1, 8), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(needed, first.Length);
  ASSERT_EQ(Read(before + 1, first.Length + 8), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(done, first.Length) << "whole records only";
  EXPECT_EQ(Read(before + 3, 4096), DWORD{ERROR_HANDLE_EOF});
  EXPECT_EQ(Read(0, 4096), DWORD{ERROR_INVALID_PARAMETER});
}

std::int64_t NowMs() {
  using namespace std::chrono;
  return floor<milliseconds>(system_clock::now()).time_since_epoch().count();
}

/// Milliseconds since 1970 of a local time like 2026-11-19T04:22:58.125.
std::int64_t MsOf(const std::string& text) {
  tm fields{};
  const char* const rest = strptime(text.c_str(), "%FT%T.", &fields);
  return rest == nullptr ? 0 : mktime(&fields) * std::int64_t{1000} + std::stoi(rest);
}

TEST_F(EventLogReading, TellsTheTimeInEveryZone) {
  for (const auto& [zone, offset] : {std::pair{"<+0545>-5:45", "+05:45\","},
                                     {"<-0330>3:30", "-03:30\","},
                                     {"UTC0", "+00:00\","}}) {
    setenv("TZ", zone, 1);
    tzset();
    const std::int64_t before = NowMs();
    SYSTEMTIME now{};
    GetLocalTime(&now);
    Report(EVENTLOG_ERROR_TYPE, u"", "");
    const std::int64_t after = NowMs();

    const std::string line = LastLine();
    EXPECT_EQ(line.substr(32, 8), offset);
    const std::int64_t logged = MsOf(line.substr(9, 23));
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", now.wYear, now.wMonth,
                  now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    const std::int64_t told = MsOf(text);
    EXPECT_TRUE(before <= told && told <= logged && logged <= after) << line << text;
    const time_t seconds = told / 1000;
    EXPECT_EQ(now.wDayOfWeek, localtime(&seconds)->tm_wday);
    ASSERT_EQ(Read(Count(), 4096), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Record(0).TimeGenerated, logged / 1000);
    EXPECT_EQ(Record(0).TimeWritten, logged / 1000);
  }
  unsetenv("TZ");
  tzset();
}

TEST_F(EventLogReading, PassesOverLinesThatAreNoEvents) {
  const DWORD before = Count();
  std::ofstream file(std::string(std::getenv("TAGWRIGHT_ROOT")) + "/eventlog/Application.jsonl",
                     std::ios::app);
  file << "{\"time\": \"2026-11-\n\n[]\n{\"time\": 1}\n" << std::flush;
  Report(EVENTLOG_INFORMATION_TYPE, u"behind them", "");
  ASSERT_EQ(Read(before + 1, 4096), DWORD{ERROR_SUCCESS});
  const EVENTLOGRECORD record = Record(0);
  EXPECT_EQ(record.RecordNumber, before + 5);
  EXPECT_EQ(record.EventType, EVENTLOG_INFORMATION_TYPE);
  EXPECT_EQ(Text(record.StringOffset), u"behind them");
  EXPECT_EQ(done, record.Length);
  std::ofstream(std::string(std::getenv("TAGWRIGHT_ROOT")) + "/eventlog/System.jsonl") << "{}\n";
  const HANDLE other = OpenEventLogW(nullptr, u"System");
  DWORD number = 0;
  EXPECT_TRUE(GetNumberOfEventLogRecords(other, &number) && number == 1);
  EXPECT_TRUE(CloseEventLog(other));
  file << "an end that is none\n" << std::flush;
  EXPECT_EQ(Read(before + 6, 4096), DWORD{ERROR_HANDLE_EOF});
}

}  // namespace
