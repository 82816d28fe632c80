/// From a pipe's path to the name of its socket file.
#pragma once

#include <string>

#include "platform/posix/api/base.h"

namespace platform {

/// Whether `path` names a pipe on this machine: \\.\pipe\..., in any letter case.
bool IsPipePath(LPCWSTR path);

/// The file name for \\.\pipe\<short name>: the short name in lower case and in UTF-8, written as
/// FileNameFor does. ERROR_INVALID_NAME for a path that is no pipe path, an empty short name, one
/// with a backslash, and a path of more than 256 characters.
DWORD PipeFileName(LPCWSTR path, std::string& fileName);

}  // namespace platform
