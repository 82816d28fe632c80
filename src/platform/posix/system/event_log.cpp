#include "platform/posix/api/event_log.h"

#include <sys/time.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/posix/api/errors.h"
#include "platform/posix/api/registry.h"
#include "platform/posix/kernel/append_file.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/notice.h"
#include "platform/posix/kernel/object.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/system/event_log_file.h"

using platform::Fail;
using platform::KernelScope;

namespace {

/// The longest insertion string of an event, in characters.
constexpr std::size_t kMaximumStringChars = 31839;
/// More than the product's entries take without their text.
constexpr std::size_t kTypicalLineBytes = 512;

/// As JSON has it. Most texts stand there as they are, and the library takes longer to find out.
std::string Quoted(const std::string& text) {
  const bool isPlain = std::ranges::all_of(
      text, [](char byte) { return byte >= ' ' && byte <= '~' && byte != '"' && byte != '\\'; });
  return isPlain ? '"' + text + '"' : nlohmann::json(text).dump();
}

/// A registered source: who reports, and where.
class EventSource : public platform::Object {
 public:
  EventSource(const std::string& sourceName, std::string logFile)
      : name(Quoted(sourceName)), path(std::move(logFile)) {}

  const std::string name;  ///< As JSON has it.
  const std::string path;  ///< of the log's file
};

const char* TypeName(WORD type) {
  switch (type) {
    case EVENTLOG_ERROR_TYPE:
      return "Error";
    case EVENTLOG_WARNING_TYPE:
      return "Warning";
    case EVENTLOG_INFORMATION_TYPE:
      return "Information";
    default:
      return nullptr;
  }
}

bool IsSystemSource(LPCWSTR sourceName) {
  const std::u16string path =
      std::u16string(u"SYSTEM\\CurrentControlSet\\Services\\Eventlog\\System\\") + sourceName;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != 0) return false;
  RegCloseKey(key);
  return true;
}

/// Appends exactly `digits` digits.
void AppendNumber(std::string& text, long number, int digits) {
  constexpr long kBase = 10;
  if (digits > 1) AppendNumber(text, number / kBase, digits - 1);
  text += static_cast<char>('0' + number % kBase);
}

/// ISO 8601 with milliseconds and the offset from UTC.
void AppendLocalTime(std::string& text) {
  constexpr int kFirstYear = 1900;
  constexpr long kMinuteSeconds = 60, kHourMinutes = 60, kMillisecondUs = 1000;
  timeval now{};
  gettimeofday(&now, nullptr);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  AppendNumber(text, kFirstYear + local.tm_year, 4);
  AppendNumber(text += '-', local.tm_mon + 1, 2);
  AppendNumber(text += '-', local.tm_mday, 2);
  AppendNumber(text += 'T', local.tm_hour, 2);
  AppendNumber(text += ':', local.tm_min, 2);
  AppendNumber(text += ':', local.tm_sec, 2);
  AppendNumber(text += '.', now.tv_usec / kMillisecondUs, 3);
  const long offsetMinutes = std::labs(local.tm_gmtoff) / kMinuteSeconds;
  AppendNumber(text += local.tm_gmtoff < 0 ? '-' : '+', offsetMinutes / kHourMinutes, 2);
  AppendNumber(text += ':', offsetMinutes % kHourMinutes, 2);
}

constexpr char kHexDigits[] = "0123456789ABCDEF";

void AppendHex(std::string& text, const void* data, std::size_t size) {
  for (const BYTE *byte = static_cast<const BYTE*>(data), *end = byte + size; byte != end; ++byte) {
    text += kHexDigits[*byte >> 4];
    text += kHexDigits[*byte & 15];
  }
}

void AppendEventId(std::string& text, DWORD eventId) {
  text += "0x";
  for (int shift = 28; shift >= 0; shift -= 4) text += kHexDigits[eventId >> shift & 15];
}

/// 0 or an errno value.
int AppendLine(const std::string& path, const std::string& line) {
  const platform::UniqueFd file = platform::OpenToAppend(path);
  return file ? platform::AppendWhole(file.Get(), line) : errno;
}

void WarnOnce(const std::string& path, int errnoValue) {
  static std::atomic_flag isDone;
  if (isDone.test_and_set()) return;
  platform::WriteNotice("the event log " + path +
                        " cannot be written: " + std::strerror(errnoValue));
}

}  // namespace

std::string platform::EventLogFileOf(LPCWSTR sourceName) {
  const char* const log = IsSystemSource(sourceName) ? "/System.jsonl" : "/Application.jsonl";
  return platform::StateFolder("eventlog") + log;
}

HANDLE RegisterEventSourceW(LPCWSTR serverName, LPCWSTR sourceName) {
  KernelScope scope;
  if (serverName != nullptr || sourceName == nullptr || *sourceName == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  return platform::InsertHandle(std::make_shared<EventSource>(
      platform::ToUtf8(sourceName), platform::EventLogFileOf(sourceName)));
}

BOOL DeregisterEventSource(HANDLE eventLog) {
  KernelScope scope;
  if (!platform::Lookup<EventSource>(eventLog)) return FALSE;
  return platform::RemoveHandle(eventLog) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

BOOL ReportEventW(HANDLE eventLog, WORD type, WORD category, DWORD eventId, PSID userSid,
                  WORD stringCount, DWORD dataSize, LPCWSTR* strings, LPVOID rawData) {
  KernelScope scope;
  const auto source = platform::Lookup<EventSource>(eventLog);
  if (!source) return FALSE;
  if (TypeName(type) == nullptr || userSid != nullptr || stringCount != 1 || strings == nullptr ||
      strings[0] == nullptr || (rawData == nullptr && dataSize > 0)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const std::u16string_view text(strings[0]);
  if (text.size() > kMaximumStringChars) return Fail(ERROR_INVALID_PARAMETER);

  std::string line = R"({"time":")";
  line.reserve(kTypicalLineBytes + text.size());
  AppendLocalTime(line);
  line.append(R"(","source":)").append(source->name);
  line.append(R"(,"type":")").append(TypeName(type));
  line.append(R"(","category":)").append(std::to_string(category));
  AppendEventId(line += R"(,"event_id":")", eventId);
  line.append(R"(","text":)").append(Quoted(platform::ToUtf8(text)));
  AppendHex(line += R"(,"data":")", rawData, dataSize);
  line += "\"}\n";
  const int error = AppendLine(source->path, line);
  if (error == 0) return TRUE;
  WarnOnce(source->path, error);
  return Fail(platform::ErrorFromErrno(error));
}
