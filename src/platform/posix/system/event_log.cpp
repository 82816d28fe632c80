#include "platform/posix/api/event_log.h"

#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
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

/// A registered source: who reports, and where.
class EventSource : public platform::Object {
 public:
  EventSource(std::string sourceName, std::string logFile)
      : name(std::move(sourceName)), path(std::move(logFile)) {}

  const std::string name;  ///< UTF-8
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

/// ISO 8601 with milliseconds and the offset from UTC.
std::string LocalTimeText() {
  timeval now{};
  gettimeofday(&now, nullptr);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  char seconds[32], offset[8], text[64];
  strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &local);
  strftime(offset, sizeof offset, "%z", &local);
  std::snprintf(text, sizeof text, "%s.%03d%.3s:%s", seconds, static_cast<int>(now.tv_usec / 1000),
                offset, offset + 3);
  return text;
}

std::string Hex(const void* data, std::size_t size) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(2 * size);
  for (const BYTE *byte = static_cast<const BYTE*>(data), *end = byte + size; byte != end; ++byte) {
    text += kDigits[*byte >> 4];
    text += kDigits[*byte & 15];
  }
  return text;
}

std::string EventIdText(DWORD eventId) {
  char text[11];
  std::snprintf(text, sizeof text, "0x%08X", eventId);
  return text;
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

  nlohmann::ordered_json event;
  event["time"] = LocalTimeText();
  event["source"] = source->name;
  event["type"] = TypeName(type);
  event["category"] = category;
  event["event_id"] = EventIdText(eventId);
  event["text"] = platform::ToUtf8(text);
  event["data"] = Hex(rawData, dataSize);
  const int error = AppendLine(source->path, event.dump() + "\n");
  if (error == 0) return TRUE;
  WarnOnce(source->path, error);
  return Fail(platform::ErrorFromErrno(error));
}
