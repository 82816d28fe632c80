/// The event log read through the calls for it, against what was reported.
#include <gtest/gtest.h>

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
  const DWORD now = static_cast<DWORD>(time(nullptr));
  Report(EVENTLOG_ERROR_TYPE, u"first\n\u20AC", std::string("\x01\xFF\x00", 3));
  Report(EVENTLOG_WARNING_TYPE, u"second", "");
  ASSERT_EQ(Count(), before + 2);
  DWORD oldest = 0;
  EXPECT_TRUE(GetOldestEventLogRecord(log, &oldest) && oldest == 1);

  ASSERT_EQ(Read(before + 1, 4096), DWORD{ERROR_SUCCESS});
  const EVENTLOGRECORD first = Record(0);
  EXPECT_EQ(first.RecordNumber, before + 1);
  EXPECT_EQ(first.EventType, EVENTLOG_ERROR_TYPE);
  EXPECT_EQ(first.EventID, 0xCFFF0300);
  EXPECT_EQ(first.EventCategory, 3);
  EXPECT_LE(first.TimeGenerated - now, 60U);
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
  file << "an end that is none\n" << std::flush;
  EXPECT_EQ(Read(before + 6, 4096), DWORD{ERROR_HANDLE_EOF});
}

}  // namespace
