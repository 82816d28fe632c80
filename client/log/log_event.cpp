#include "client/log/log_event.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

#include "client/log/log_sources.h"
#include "support/log_levels.h"
#include "support/oevent_log.h"

namespace Tagwright {

std::string FormatLogTime(std::int64_t timeMs) {
  const std::time_t seconds = timeMs / 1000;
  const std::tm* const local = std::localtime(&seconds);
  char text[48];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", local);
  std::snprintf(text + length, sizeof text - length, ".%03d", static_cast<int>(timeMs % 1000));
  return text;
}

std::int64_t LogTimeNow() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::string FormatLogEvent(const LogEvent& event) {
  char columns[128];
  std::snprintf(columns, sizeof columns, "  %-9s  %-10s  [%lu/%08lX]  ",
                LogSourceWord(event.source).c_str(), OEventLog::GetLevelName(event.level),
                static_cast<unsigned long>(event.processId),
                static_cast<unsigned long>(event.threadId));
  std::string line = FormatLogTime(event.timeMs) + columns + event.text;
  std::erase(line, '\r');  // On a terminal, what follows would be written over what stands there.
  std::ranges::replace(line, '\n', ' ');
  return line;
}

bool IsNoTrace(const LogEvent& event) {
  return (event.level & (LogLevel::kErrors | LogLevel::kWarnings | LogLevel::kInfo)) != 0;
}

}  // namespace Tagwright
