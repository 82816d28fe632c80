#include "simulator/tag/lock_bits.h"

namespace Simulator {
namespace {

constexpr int kHalfBits = 10;
constexpr std::uint16_t kHalfMask = (1U << kHalfBits) - 1;
/// The high bit of each pair.
constexpr std::uint16_t kLockBits = 0b10'10'10'10'10;

int ShiftOf(LockField field) { return static_cast<int>(field) * 2; }

}  // namespace

std::optional<LockPayload> LockPayload::FromNumber(int number) {
  if (number < 0 || number >> (2 * kHalfBits) != 0) return std::nullopt;
  return LockPayload{static_cast<std::uint16_t>(number >> kHalfBits),
                     static_cast<std::uint16_t>(number & kHalfMask)};
}

LockPayload LockPayload::Unlocking() const {
  return {static_cast<std::uint16_t>(mask & kLockBits), 0};
}

LockState LockBits::Of(LockField field) const {
  return static_cast<LockState>(_bits >> ShiftOf(field) & 3);
}

void LockBits::Set(LockField field, LockState state) {
  const int cleared = _bits & ~(3 << ShiftOf(field));
  _bits = static_cast<std::uint16_t>(cleared | static_cast<int>(state) << ShiftOf(field));
}

bool LockBits::Apply(const LockPayload& payload) {
  LockBits after;
  after._bits =
      static_cast<std::uint16_t>((_bits & ~payload.mask) | (payload.action & payload.mask));
  for (int index = 0; index < kLockFieldCount; ++index) {
    const auto field = static_cast<LockField>(index);
    const bool permanent = (static_cast<int>(Of(field)) & 1) != 0;
    if (permanent && after.Of(field) != Of(field)) return false;
  }
  *this = after;
  return true;
}

}  // namespace Simulator
