/// Reading the text file to which a source's events are copied while its mask says so.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/log/log_event.h"
#include "client/text.h"

namespace Tagwright {

/// The file of an event source: "C:\Log Files\", the source's name with underscores for its blanks,
/// and ".txt".
WideString LogFilePath(const std::string& sourceName);

/// Reads the file from where it stands to its end, again and again. A file that is not there has no
/// lines; one that became shorter is read from its start.
class LogFileReader {
 public:
  explicit LogFileReader(const std::string& sourceName) : _path(LogFilePath(sourceName)) {}

  /// The whole lines from here to the end of the file. A line that does not have the form of an
  /// event belongs to the text of the one before it. Times are whole seconds.
  std::vector<LogEvent> ReadNew();

 private:
  std::string ReadText();

  const WideString _path;
  std::int64_t _position = 0;
};

/// The event in a line of the file, false when it has another form.
bool ParseLogLine(const std::string& line, LogEvent& event);

}  // namespace Tagwright
