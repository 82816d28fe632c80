/// How much memory of a process is in RAM.
#pragma once

#include <optional>

#include "platform/windows_api.h"

namespace Bench {

/// In KiB; nothing when the process cannot be looked at.
std::optional<std::size_t> ResidentMemoryKb(DWORD processId);

}  // namespace Bench
