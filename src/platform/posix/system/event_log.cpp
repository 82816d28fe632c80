#include "platform/posix/api/event_log.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
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
#include "platform/posix/system/event_line.h"
#include "platform/posix/system/event_log_file.h"

using platform::Fail;
using platform::KernelScope;

namespace {

/// The longest insertion string of an event, in characters.
constexpr std::size_t kMaximumStringChars = 31839;
/// More than the product's entries take without their text.
constexpr std::size_t kTypicalLineBytes = 512;

/// A registered source: who reports, and where.
class EventSource : public platform::Object {
 public:
  EventSource(const std::string& sourceName, std::string logFile)
      : name(platform::Quoted(sourceName)), path(std::move(logFile)) {}

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

/// Most texts stand there as they are, and the library takes longer to find out.
void AppendQuoted(std::string& line, std::u16string_view text) {
  const bool isPlain = std::ranges::all_of(text, [](char16_t unit) {
    return unit >= ' ' && unit <= '~' && unit != '"' && unit != '\\';
  });
  if (!isPlain) {
    line += platform::Quoted(platform::ToUtf8(text));
    return;
  }
  line += '"';
  const std::size_t start = line.size();
  line.resize(start + text.size());
  std::ranges::copy(text, line.data() + start);
  line += '"';
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

std::string platform::Quoted(const std::string& text) { return nlohmann::json(text).dump(); }

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

  std::string line;
  line.reserve(kTypicalLineBytes + text.size());
  platform::AppendEvent(line, {source->name, TypeName(type), category, eventId, rawData, dataSize},
                        [&](std::string& end) { AppendQuoted(end, text); });
  const int error = AppendLine(source->path, line);
  if (error == 0) return TRUE;
  WarnOnce(source->path, error);
  return Fail(platform::ErrorFromErrno(error));
}
