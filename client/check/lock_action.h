/// Lock actions as people write them: the 20-bit payload of the Gen2 Lock command, ten bits of mask
/// over ten bits of action. Each half has a pair of bits for kill password, access password, EPC,
/// TID and User, from the high end to the low one. In a pair the upper bit is the lock, and the
/// lower one makes it permanent.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Tagwright {

/// Such as "locks the kill password, permanently locks the EPC"; "changes nothing" for an empty
/// mask. Bits beyond the 20 are left out.
std::string DescribeLockAction(std::uint32_t payload);

/// What an `unlock` with this payload does: it clears the lock bits that the mask names.
std::string DescribeUnlockAction(std::uint32_t payload);

/// What is doubtful about a payload in a job; empty when nothing is.
std::string DoubtAboutLockAction(std::uint32_t payload);

/// "epc=lock,access=permalock", the text that LockActionOf reads, with the field names kill,
/// access, epc, tid and user.
std::string LockActionTerms(std::uint32_t payload);

/// The payload of such a text, letter case aside. The states are lock, unlock, permalock and
/// permaunlock, and keep for a state that becomes permanent as it is. Throws std::invalid_argument
/// with a sentence for people when a word is unknown or a field is named twice.
std::uint32_t LockActionOf(std::string_view terms);

}  // namespace Tagwright
