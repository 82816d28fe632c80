/// Where the running program lies.
#pragma once

#include <string>
#include <string_view>

namespace platform {

/// The path of the program's file, as the system names it; empty when it cannot be found out.
const std::string& ProgramPath();

/// The path of `name` in the program's folder, whether there is such a file or not.
std::string BesideProgram(std::string_view name);

}  // namespace platform
