/// The folder under which the programs that stand in for hardware keep their own state.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace platform {

/// On Linux the layer's state root. On Windows the environment variable TAGWRIGHT_ROOT, else
/// C:\ProgramData\Tagwright. A Windows path without a trailing backslash; the folder exists.
std::basic_string<WCHAR> StateRoot();

}  // namespace platform
