/// Points in time as people write them.
#pragma once

#include <cstdint>
#include <string>

namespace Ctl {

/// Milliseconds since 1970 of a time ago ("90s", "10m", "2h", "3d"), a time of today ("06:30",
/// "06:30:15"), a day ("2026-11-23") or both, with a blank or a T between them; local time. Throws
/// Failure (kUsage) for anything else.
std::int64_t ParseSince(const std::string& text, std::int64_t nowMs);

}  // namespace Ctl
