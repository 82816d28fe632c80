/// The simulator's folder, `simulator` under the state root, and the files in it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/tag/text.h"

namespace Simulator {

/// Path of the file `name`; the folder is created when it is missing.
WideText StateFilePath(std::string_view name);

/// The whole file; nothing when there is none. Throws std::runtime_error when it cannot be read.
std::optional<std::string> ReadStateFile(const WideText& path);

/// Replaces the file as a whole: a reader sees the old text or the new one. Throws
/// std::runtime_error.
void ReplaceStateFile(const WideText& path, std::string_view text);

/// Appends to a file that exists; false when it does not or cannot be written. The caller keeps
/// other writers away.
bool AppendToStateFile(const WideText& path, std::string_view text);

}  // namespace Simulator
