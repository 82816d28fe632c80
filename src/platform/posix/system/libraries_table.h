/// The libraries that LoadLibraryW has handed out.
#pragma once

#include <string>

#include "platform/posix/api/libraries.h"

namespace platform {

/// The Windows path of a loaded library; false when `module` is none.
bool LibraryPath(HMODULE module, std::u16string& path);

/// The program's file, as the system names it.
std::string ProgramPath();

}  // namespace platform
