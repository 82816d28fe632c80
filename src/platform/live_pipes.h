/// Which pipes a server has and who is connected to them, found out without connecting to one: a
/// pipe has one client in its life.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace platform {

struct LivePipe {
  std::string name;
  /// The process at the client's end, 0 while there is none. Nothing where the system does not say,
  /// as on Windows, or where the process is another user's.
  std::optional<DWORD> clientProcessId;
};

/// The live pipes that the server of the pipe `name` has, that one among them, ordered by name.
/// Where the system does not say which process has a pipe, as on Windows, it is that one alone.
/// Empty when nobody serves it.
std::vector<LivePipe> PipesOfServer(const std::basic_string<WCHAR>& name);

}  // namespace platform
