#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/posix/api/errors.h"
#include "platform/posix/api/event_log.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/object.h"
#include "platform/posix/kernel/sizes.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/unique_fd.h"

using platform::Fail;
using platform::KernelScope;

namespace {

constexpr DWORD kRecordSignature = 0x654C664C;
constexpr std::size_t kBlockBytes = 64 * platform::kKiB;

/// A log's file, read line by line. A line that is not complete yet does not count.
class EventLogFile : public platform::Object {
 public:
  explicit EventLogFile(std::string path) : _path(std::move(path)) {}

  /// The number of records.
  DWORD Count() {
    const std::lock_guard guard(_lock);
    while (TakeLine()) {
    }
    return _number;
  }

  /// The line of record `number`; nothing when there is none.
  std::optional<std::string> Line(DWORD number) {
    const std::lock_guard guard(_lock);
    if (number < _number) Rewind();
    while (_number < number) {
      if (!TakeLine()) return std::nullopt;
    }
    return _line;
  }

 private:
  void Rewind() {
    _position = 0;
    _number = 0;
    _ahead.clear();
    _taken = 0;
  }

  bool TakeLine() {
    std::size_t end = _ahead.find('\n', _taken);
    while (end == std::string::npos) {
      if (!ReadAhead()) return false;
      end = _ahead.find('\n');
    }
    _line = _ahead.substr(_taken, end - _taken);
    _taken = end + 1;
    ++_number;
    return true;
  }

  bool ReadAhead() {
    // The file appears with the first event, which may come after this object.
    // O_NONBLOCK: a FIFO in its place does not block.
    if (!_file) _file = platform::UniqueFd(open(_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!_file) return false;
    _ahead.erase(0, _taken);
    _taken = 0;
    char block[kBlockBytes];
    const ssize_t count = pread(_file.Get(), block, sizeof block, _position);
    if (count <= 0) return false;
    _ahead.append(block, static_cast<std::size_t>(count));
    _position += count;
    return true;
  }

  const std::string _path;
  std::mutex _lock;  ///< Guards what follows.
  platform::UniqueFd _file;
  off_t _position = 0;     ///< In the file, behind what is in _ahead.
  std::string _ahead;      ///< Read from the file.
  std::size_t _taken = 0;  ///< Bytes of _ahead whose lines have been taken.
  DWORD _number = 0;       ///< Lines taken so far, which is the number of the last one.
  std::string _line;       ///< The last one.
};

/// Seconds since 1970 of "2026-11-19T04:22:58.125+01:00".
DWORD SecondsOf(const std::string& time) {
  tm parts{};
  char sign = '+';
  int hours = 0;
  int minutes = 0;
  if (std::sscanf(time.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%*3d%c%2d:%2d", &parts.tm_year,
                  &parts.tm_mon, &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec,
                  &sign, &hours, &minutes) != 9) {
    return 0;
  }
  parts.tm_year -= 1900;
  --parts.tm_mon;
  const int offset = (hours * 60 + minutes) * 60;
  return static_cast<DWORD>(timegm(&parts) - (sign == '-' ? -offset : offset));
}

WORD TypeOf(const std::string& name) {
  if (name == "Error") return EVENTLOG_ERROR_TYPE;
  return name == "Warning" ? EVENTLOG_WARNING_TYPE : EVENTLOG_INFORMATION_TYPE;
}

std::string BytesOf(const std::string& hex) {
  std::string bytes;
  for (std::size_t at = 0; at + 1 < hex.size(); at += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
  }
  return bytes;
}

void AppendText(std::string& record, const std::string& utf8) {
  const std::u16string text = platform::ToUtf16(utf8);
  record.append(reinterpret_cast<const char*>(text.c_str()), 2 * (text.size() + 1));
}

/// The line as a record with everything that follows it. Empty for a line that is no event, for
/// instance one that a full disk has cut short.
std::string RecordOf(const std::string& line, DWORD number) try {
  const nlohmann::json event = nlohmann::json::parse(line);
  EVENTLOGRECORD head{};
  head.Reserved = kRecordSignature;
  head.RecordNumber = number;
  head.TimeGenerated = head.TimeWritten = SecondsOf(event.at("time"));
  head.EventID =
      static_cast<DWORD>(std::stoul(event.at("event_id").get<std::string>(), nullptr, 16));
  head.EventType = TypeOf(event.at("type"));
  head.NumStrings = 1;
  head.EventCategory = event.at("category");
  std::string record(sizeof head, '\0');
  AppendText(record, event.at("source"));
  AppendText(record, "");
  head.UserSidOffset = head.StringOffset = static_cast<DWORD>(record.size());
  AppendText(record, event.at("text"));
  const std::string data = BytesOf(event.at("data"));
  head.DataOffset = static_cast<DWORD>(record.size());
  head.DataLength = static_cast<DWORD>(data.size());
  record += data;
  record.resize((record.size() + 3) / 4 * 4);
  head.Length = static_cast<DWORD>(record.size() + sizeof(DWORD));
  record.append(reinterpret_cast<const char*>(&head.Length), sizeof head.Length);
  std::memcpy(record.data(), &head, sizeof head);
  return record;
} catch (const std::logic_error&) {
  return {};  // A number that is none.
} catch (const nlohmann::json::exception&) {
  return {};
}

/// Copies records until one does not fit or there is none left. A system error code.
DWORD CopyRecords(EventLogFile& log, DWORD number, char* buffer, DWORD size, DWORD& read,
                  DWORD& needed) {
  for (;; ++number) {
    const std::optional<std::string> line = log.Line(number);
    if (!line) return read > 0 ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
    const std::string record = RecordOf(*line, number);
    if (record.size() > size - read) {
      needed = static_cast<DWORD>(record.size());
      return read > 0 ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
    }
    std::memcpy(buffer + read, record.data(), record.size());
    read += static_cast<DWORD>(record.size());
  }
}

}  // namespace

HANDLE OpenEventLogW(LPCWSTR serverName, LPCWSTR logName) {
  const KernelScope scope;
  if (serverName != nullptr || logName == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const char* const file = std::u16string_view(logName) == u"System" ? "/System" : "/Application";
  return platform::InsertHandle(
      std::make_shared<EventLogFile>(platform::StateFolder("eventlog") + file + ".jsonl"));
}

BOOL CloseEventLog(HANDLE eventLog) {
  const KernelScope scope;
  if (!platform::Lookup<EventLogFile>(eventLog)) return FALSE;
  return platform::RemoveHandle(eventLog) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

BOOL GetNumberOfEventLogRecords(HANDLE eventLog, LPDWORD count) {
  const KernelScope scope;
  const auto log = platform::Lookup<EventLogFile>(eventLog);
  if (!log) return FALSE;
  *count = log->Count();
  return TRUE;
}

BOOL GetOldestEventLogRecord(HANDLE eventLog, LPDWORD number) {
  if (!GetNumberOfEventLogRecords(eventLog, number)) return FALSE;
  *number = std::min<DWORD>(*number, 1);
  return TRUE;
}

BOOL ReadEventLogW(HANDLE eventLog, DWORD flags, DWORD recordNumber, LPVOID buffer, DWORD size,
                   LPDWORD bytesRead, LPDWORD bytesNeeded) {
  const KernelScope scope;
  const auto log = platform::Lookup<EventLogFile>(eventLog);
  if (!log) return FALSE;
  if (flags != (EVENTLOG_SEEK_READ | EVENTLOG_FORWARDS_READ) || recordNumber == 0 ||
      buffer == nullptr) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  *bytesRead = *bytesNeeded = 0;
  const DWORD error =
      CopyRecords(*log, recordNumber, static_cast<char*>(buffer), size, *bytesRead, *bytesNeeded);
  return error == ERROR_SUCCESS ? TRUE : Fail(error);
}
