#include "simulator/tag/lock_names.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace Simulator {
namespace {

constexpr std::array<const char*, 4> kStates = {"unlocked", "unlocked-forever", "locked",
                                                "locked-forever"};
constexpr std::array<const char*, kLockFieldCount> kFields = {"user", "tid", "epc",
                                                              "access_password", "kill_password"};

}  // namespace

const char* LockStateName(LockState state) { return kStates[static_cast<std::size_t>(state)]; }

LockState LockStateFromName(std::string_view name) {
  const auto found = std::ranges::find(kStates, name);
  if (found == kStates.end()) throw std::invalid_argument("no such lock state");
  return static_cast<LockState>(found - kStates.begin());
}

const char* LockFieldName(LockField field) { return kFields[static_cast<std::size_t>(field)]; }

}  // namespace Simulator
