/// Standard output and standard error: UTF-8, a whole line at a time, seen at once.
#pragma once

#include <string>

namespace Ctl {

/// Makes a console that is asked to show UTF-8 do so. Call it once, before the first line.
void PrepareConsole();

/// Writes and flushes a line at once, so that lines of different threads and processes do not mix.
void PrintLine(const std::string& text);
void PrintError(const std::string& text);
/// To standard error, without the program's name in front.
void PrintNote(const std::string& text);

}  // namespace Ctl
