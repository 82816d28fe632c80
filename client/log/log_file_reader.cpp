#include "client/log/log_file_reader.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "client/text.h"
#include "support/log_levels.h"
#include "support/scoped_handle.h"

namespace Tagwright {
namespace {

constexpr const WCHAR* kFolder = TEXT("C:\\Log Files\\");
constexpr std::string_view kThread = "Thread:0x";

DWORD LevelOf(const std::string& name) {
  for (const LogLevel::Name& level : LogLevel::kNames) {
    if (name == level.text) return level.bit;
  }
  return 0;
}

/// Milliseconds since 1970 of "11/19/2026 04:22:58", local time; -1 for another form.
std::int64_t TimeOf(const std::string& text) {
  std::tm time{};
  if (std::sscanf(text.c_str(), "%2d/%2d/%4d %2d:%2d:%2d", &time.tm_mon, &time.tm_mday,
                  &time.tm_year, &time.tm_hour, &time.tm_min, &time.tm_sec) != 6) {
    return -1;
  }
  --time.tm_mon;
  time.tm_year -= 1900;
  time.tm_isdst = -1;
  return std::int64_t{std::mktime(&time)} * 1000;
}

/// Takes the text up to the next ", " off the front of `rest`.
std::string TakeField(std::string& rest) {
  const std::size_t end = std::min(rest.find(", "), rest.size());
  std::string field = rest.substr(0, end);
  rest.erase(0, std::min(end + 2, rest.size()));
  return field;
}

}  // namespace

WideString LogFilePath(const std::string& sourceName) {
  std::string file = sourceName;
  std::ranges::replace(file, ' ', '_');
  return kFolder + ToWide(file) + TEXT(".txt");
}

bool ParseLogLine(const std::string& line, LogEvent& event) {
  std::string rest = line;
  event.timeMs = TimeOf(TakeField(rest));
  event.source = TakeField(rest);
  event.level = LevelOf(TakeField(rest));
  const std::string thread = TakeField(rest);
  if (event.timeMs < 0 || !thread.starts_with(kThread)) return false;
  event.threadId = static_cast<DWORD>(std::strtoul(thread.c_str() + kThread.size(), nullptr, 16));
  event.text = AnsiToUtf8(rest);
  return true;
}

std::vector<LogEvent> LogFileReader::ReadNew() {
  std::vector<LogEvent> events;
  const std::string text = ReadText();
  for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos;
       start = end + 1) {
    std::string line = text.substr(start, end - start);
    TrimLineEnds(line);
    LogEvent event;
    if (ParseLogLine(line, event)) {
      events.push_back(event);
    } else if (!events.empty() && !line.empty()) {
      events.back().text += "\n" + line;
    }
  }
  return events;
}

std::string LogFileReader::ReadText() {
  const ScopedHandle file(CreateFileW(_path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
  LARGE_INTEGER size = {};
  if (!file.IsValid() || !GetFileSizeEx(file.Get(), &size)) return {};
  if (size.QuadPart < _position) _position = 0;
  LARGE_INTEGER position;
  position.QuadPart = _position;
  if (!SetFilePointerEx(file.Get(), position, nullptr, FILE_BEGIN)) return {};
  std::string text(static_cast<std::size_t>(size.QuadPart - _position), '\0');
  DWORD done = 0;
  if (!ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &done, nullptr))
    return {};
  // A line that is being written is read when it is whole.
  text.resize(std::min<std::size_t>(text.size(), text.substr(0, done).rfind('\n') + 1));
  _position += static_cast<std::int64_t>(text.size());
  return text;
}

}  // namespace Tagwright
