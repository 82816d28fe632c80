/// Carrying out a scripted fault.
#pragma once

#include <string_view>

#include "simulator/component/fault_script.h"

namespace Simulator {

/// Waits, hangs, crashes or throws (MemberException) as `fault` says. Returns whether `member` is
/// to do its work; false means that it returns false instead.
bool PlayFault(const Fault& fault, std::string_view member);

}  // namespace Simulator
