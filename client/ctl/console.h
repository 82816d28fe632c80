/// Standard output and standard error: UTF-8, a whole line at a time, seen at once.
#pragma once

#include <string>

namespace Ctl {

/// Makes a console that is asked to show UTF-8 do so. Call it once, before the first line.
void PrepareConsole();

/// Writes and flushes. Lines of different threads do not mix.
void PrintLine(const std::string& text);
void PrintError(const std::string& text);

/// Writes the beginning of a line that a later PrintLine completes.
void PrintProgress(const std::string& text);

}  // namespace Ctl
