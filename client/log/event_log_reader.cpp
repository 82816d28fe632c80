#include "client/log/event_log_reader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "client/log/log_sources.h"
#include "client/text.h"
#include "support/oevent_log.h"

namespace Tagwright {
namespace {

/// Room for many records; a longer one makes the buffer grow.
constexpr std::size_t kBufferBytes = std::size_t{64} * 1024;

/// How far the time of an entry, in whole seconds, may lie from its counter for the two to
/// belong to the same run of the system.
constexpr std::int64_t kSameRunMs = 3000;

EVENTLOGRECORD RecordAt(const char* bytes) {
  EVENTLOGRECORD record;
  std::memcpy(&record, bytes, sizeof record);
  return record;
}

/// The text at `bytes`, which lies where no character needs to be aligned.
std::string TextAt(const char* bytes, const char* end) {
  WideString text;
  for (; bytes + sizeof(WCHAR) <= end; bytes += sizeof(WCHAR)) {
    WCHAR unit;
    std::memcpy(&unit, bytes, sizeof unit);
    if (unit == 0) break;
    text += unit;
  }
  return ToUtf8(text);
}

/// The counter gives the milliseconds, unless the system was started since.
std::int64_t TimeOf(const EVENTLOGRECORD& record, const OEventData& data,
                    const CounterClock& clock) {
  const std::int64_t seconds = std::int64_t{record.TimeGenerated} * 1000;
  const std::int64_t exact = clock.TimeMs(data.performanceCounter);
  return std::abs(exact - seconds) <= kSameRunMs ? exact : seconds;
}

bool IsTickStamp(std::string_view text) {
  constexpr std::string_view kForm = "0000000.000: ";
  return text.size() >= kForm.size() &&
         std::ranges::equal(text.substr(0, kForm.size()), kForm, [](char actual, char form) {
           return form == '0' ? actual >= '0' && actual <= '9' : actual == form;
         });
}

std::string WithoutStamp(std::string text) {
  constexpr std::size_t kStampChars = 13;
  if (IsTickStamp(text)) text.erase(0, kStampChars);
  TrimLineEnds(text);
  return text;
}

void Decode(const EVENTLOGRECORD& record, const OEventData& data, const CounterClock& clock,
            LogEvent& event) {
  event.timeMs = TimeOf(record, data, clock);
  event.level = data.level;
  event.processId = data.processId;
  event.threadId = data.threadId;
}

LogEvent EventAt(const char* bytes, const CounterClock& clock) {
  const EVENTLOGRECORD record = RecordAt(bytes);
  const char* const end = bytes + record.Length;
  LogEvent event;
  event.timeMs = std::int64_t{record.TimeGenerated} * 1000;
  event.source = TextAt(bytes + sizeof record, end);
  if (record.NumStrings > 0) {
    event.text = WithoutStamp(TextAt(bytes + record.StringOffset, end));
  }
  OEventData data;
  if (record.DataLength == sizeof data) {
    std::memcpy(&data, bytes + record.DataOffset, sizeof data);
    if (data.formatVersion == OEventData::kFormatVersion) Decode(record, data, clock, event);
  }
  return event;
}

}  // namespace

EventLogReader::EventLogReader() : _log(OpenEventLogW(nullptr, TEXT("Application"))) {}

EventLogReader::~EventLogReader() {
  if (_log != nullptr) CloseEventLog(_log);
}

void EventLogReader::SkipToEnd() { _next = End(); }

std::vector<LogEvent> EventLogReader::ReadNew() {
  std::vector<LogEvent> events;
  // A log that was cleared begins anew.
  if (_next == 0 || _next > End()) _next = Oldest();
  std::vector<char> buffer(kBufferBytes);
  const CounterClock clock;
  for (DWORD size = 0; _next < End() && ReadBlock(buffer, size);) {
    TakeRecords(buffer, size, clock, events);
  }
  return events;
}

DWORD EventLogReader::Oldest() const {
  DWORD number = 0;
  GetOldestEventLogRecord(_log, &number);
  return std::max<DWORD>(number, 1);
}

DWORD EventLogReader::End() const {
  DWORD count = 0;
  return GetNumberOfEventLogRecords(_log, &count) ? Oldest() + count : 0;
}

bool EventLogReader::ReadBlock(std::vector<char>& buffer, DWORD& size) const {
  DWORD needed = 0;
  const auto read = [&] {
    return ReadEventLogW(_log, EVENTLOG_SEEK_READ | EVENTLOG_FORWARDS_READ, _next, buffer.data(),
                         static_cast<DWORD>(buffer.size()), &size, &needed) != FALSE;
  };
  if (read()) return true;
  if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) return false;
  buffer.resize(needed);
  return read();
}

void EventLogReader::TakeRecords(const std::vector<char>& buffer, DWORD size,
                                 const CounterClock& clock, std::vector<LogEvent>& events) {
  for (DWORD at = 0; at + sizeof(EVENTLOGRECORD) <= size;) {
    LogEvent event = EventAt(buffer.data() + at, clock);
    const EVENTLOGRECORD record = RecordAt(buffer.data() + at);
    if (IsOwnLogSource(event.source)) events.push_back(std::move(event));
    _next = record.RecordNumber + 1;
    at += record.Length;
  }
}

}  // namespace Tagwright
