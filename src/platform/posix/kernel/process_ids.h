/// The processes of the machine.
#pragma once

#include <vector>

#include "platform/posix/api/base.h"

namespace platform {

/// Their ids, the caller's among them, as far as the caller may see them.
std::vector<DWORD> ProcessIds();

}  // namespace platform
