/// A simulated tag's memory as people read it.
#pragma once

#include <string>

#include "simulator/tag/tag.h"

namespace Ctl {

/// Lines of the four banks, eight words each, with lock states and permalocked blocks; no line end
/// at the end. Passwords are shown as stars unless `showPasswords`.
std::string DescribeTag(const Simulator::Tag& tag, bool showPasswords);

}  // namespace Ctl
