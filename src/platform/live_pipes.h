/// Which pipes a server has, found out without connecting to one: a pipe has one client in its
/// life.
#pragma once

#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace platform {

/// The names of the live pipes that the server of the pipe `name` has, that one among them, in
/// alphabetical order. Where the system does not say which process has a pipe, as on Windows, it is
/// `name` alone. Empty when nobody serves it.
std::vector<std::string> PipesOfServer(const std::basic_string<WCHAR>& name);

}  // namespace platform
