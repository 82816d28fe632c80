/// A Windows command line as the arguments of a program of this system.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Splits by the rules of the Windows C runtime: blanks separate; double quotes keep them; 2n
/// backslashes before a quote are n, one more makes the quote a character; two quotes inside quotes
/// are one. In the first word, the program, a backslash is nothing special.
std::vector<std::u16string> SplitCommandLine(std::u16string_view commandLine);

}  // namespace platform
