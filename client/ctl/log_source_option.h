/// The --source option of the commands about logs.
#pragma once

#include <string>

#include "client/log/log_sources.h"

namespace Ctl {

/// The full name of the source that people call `word`. Throws Failure (kUsage) for an unknown one,
/// with the nearest right word.
std::string LogSourceNamed(const std::string& word);

}  // namespace Ctl
