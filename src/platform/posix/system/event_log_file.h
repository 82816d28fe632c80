/// Where events go.
#pragma once

#include <string>

#include "platform/posix/api/base.h"

namespace platform {

/// The native path of the log that a source writes to.
std::string EventLogFileOf(LPCWSTR sourceName);

}  // namespace platform
