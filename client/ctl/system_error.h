/// The system's errors in words.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace Ctl {

/// "system error 2: The system cannot find the file specified."; the number alone when the system
/// has no text for it.
std::string SystemErrorText(DWORD error);

}  // namespace Ctl
