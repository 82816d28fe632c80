/// Where events go, and what their texts become there.
#pragma once

#include <string>

#include "platform/posix/api/base.h"

namespace platform {

/// The native path of the log that a source writes to.
std::string EventLogFileOf(LPCWSTR sourceName);

/// The text as JSON has it, with its quotes.
std::string Quoted(const std::string& text);

}  // namespace platform
