/// The last resort for what cannot be said in a log.
#pragma once

#include <string>

namespace platform {

/// Writes a line to standard error, with the program's name before it.
void WriteNotice(const std::string& text);

}  // namespace platform
