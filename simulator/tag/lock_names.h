/// The words for lock states and for what can be locked, in files and for people.
#pragma once

#include <string_view>

#include "simulator/tag/lock_bits.h"

namespace Simulator {

/// "unlocked", "unlocked-forever", "locked" or "locked-forever".
const char* LockStateName(LockState state);
/// Throws std::invalid_argument for any other text.
LockState LockStateFromName(std::string_view name);

/// "kill_password", "access_password", "epc", "tid" or "user".
const char* LockFieldName(LockField field);

}  // namespace Simulator
