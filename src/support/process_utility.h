/// Where this process comes from.
#pragma once

#include "platform/windows_api.h"
#include "support/ostring.h"

namespace ProcessUtility {

constexpr DWORD kNoProcessId = 0xFFFFFFFFU;

/// kNoProcessId when the parent cannot be found.
DWORD GetParentProcessId();

/// The folder of the program's file, without a trailing backslash.
OString GetCurrentModuleDirectory();

}  // namespace ProcessUtility
