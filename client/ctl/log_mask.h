/// The mask that selects what the program logs, as people write and read it.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace Ctl {

/// A number (decimal, or hexadecimal after 0x) or names with commas between them, in any letter
/// case: errors, warnings, info, detail, detail-a to detail-p, the switches file and debugger, and
/// the sets default, all (every level and both switches) and none, also called off. Throws Failure
/// (kUsage) for anything else.
DWORD ParseLogMask(const std::string& text);

/// "0xE4000000 errors,warnings,info,file"; bits without a name follow as a number.
std::string DescribeLogMask(DWORD mask);

}  // namespace Ctl
