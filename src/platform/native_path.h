/// Paths as the people of a system write them.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace platform {

/// The file that the program calls `path`, in UTF-8: on Windows the same path, on Linux the one
/// below the state root that stands for it. The path itself when it has no such form.
std::string NativePath(const std::basic_string<WCHAR>& path);

}  // namespace platform
