/// One entry of the event log, decoded.
#pragma once

#include <cstdint>
#include <string>

#include "platform/windows_api.h"

namespace Tagwright {

struct LogEvent {
  std::int64_t timeMs = 0;  ///< Since 1970, UTC.
  std::string source;       ///< UTF-8
  DWORD level = 0;          ///< A bit of LogLevel; 0 when the entry carries none.
  DWORD processId = 0;
  DWORD threadId = 0;
  std::string text;  ///< UTF-8, without the tick stamp in front and the line feed at the end.
};

/// "2026-11-23 06:31:02.125", local time.
std::string FormatLogTime(std::int64_t timeMs);

/// Milliseconds since 1970, now.
std::int64_t LogTimeNow();

/// "2026-11-23 06:31:02.125  native  Errors  [4711/00001A2C]  text", in columns. A line feed in the
/// text becomes a blank.
std::string FormatLogEvent(const LogEvent& event);

/// Whether the entry is an error, a warning or general information, and no trace.
bool IsNoTrace(const LogEvent& event);

}  // namespace Tagwright
