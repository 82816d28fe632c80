/// What other processes were started with.
#pragma once

#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace platform {

/// The arguments of a running process, its program first; empty when it has ended or may not be
/// looked at.
std::vector<std::basic_string<WCHAR>> ProcessArguments(DWORD processId);

}  // namespace platform
