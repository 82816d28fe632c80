/// A simulated tag's memory as people read it.
#pragma once

#include <string>

#include "simulator/tag/tag.h"

namespace Ctl {

/// Lines of the four banks, eight words each, with lock states and permalocked blocks, and the User
/// bank's text beside its words; no line end at the end. Passwords are shown as stars unless
/// `showPasswords`.
std::string DescribeTag(const Simulator::Tag& tag, bool showPasswords);

/// The lines of DescribeTag that differ, the line before after "- " and the line now after "+ ",
/// each pair below the bank that it belongs to; empty for tags that do not differ. Of passwords
/// that are not shown a change between two that are set is not seen.
std::string DescribeChanges(const Simulator::Tag& before, const Simulator::Tag& now,
                            bool showPasswords);

}  // namespace Ctl
