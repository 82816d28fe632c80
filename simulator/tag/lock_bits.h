/// The lock state of a tag and the 20-bit payload of the Gen2 Lock command.
#pragma once

#include <cstdint>
#include <optional>

namespace Simulator {

/// What can be locked, in the order of the bit pairs from the low end.
enum class LockField { kUser = 0, kTid, kEpc, kAccessPassword, kKillPassword };
constexpr int kLockFieldCount = 5;

/// A bit pair: the high bit locks, the low bit makes it permanent. A locked memory bank stays
/// readable and is writable in the secured state; a locked password is neither without that state.
enum class LockState : std::uint8_t {
  kUnlocked = 0,
  kUnlockedForever = 1,
  kLocked = 2,
  kLockedForever = 3,
};

/// Ten bits of mask over ten bits of action; a mask bit of 0 leaves the tag's bit as it was.
struct LockPayload {
  std::uint16_t mask;
  std::uint16_t action;

  /// Nothing for a number that does not fit 20 bits.
  static std::optional<LockPayload> FromNumber(int number);
  /// The payload that clears the lock bits that this one's mask names.
  LockPayload Unlocking() const;
};

class LockBits {
 public:
  LockState Of(LockField field) const;
  void Set(LockField field, LockState state);

  /// All or nothing: false, without a change, when a permanent state would have to change.
  bool Apply(const LockPayload& payload);

 private:
  std::uint16_t _bits = 0;
};

}  // namespace Simulator
