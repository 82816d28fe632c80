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

bool StateFileExists(const WideText& path);

/// Replaces the file as a whole: a reader sees the old text or the new one, also when the disk is
/// full. Throws std::runtime_error, and leaves no other file behind then.
void ReplaceStateFile(const WideText& path, std::string_view text);

/// Appends a line, which must end with a line feed; false when the file cannot be written, or does
/// not exist and `create` is false. What a full disk has cut short before ends up in a line of its
/// own. The caller keeps other writers away.
bool AppendToStateFile(const WideText& path, std::string_view line, bool create = false);

}  // namespace Simulator
