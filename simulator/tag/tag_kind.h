/// Kinds of tags: what the maker of the chip decides.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "simulator/tag/words.h"

namespace Simulator {

/// Sizes count words. The Reserved bank has four words in every tag.
struct TagKind {
  std::string name = "standard";
  /// The EPC bank: CRC, PC, and room for the EPC.
  std::size_t epcBankWords = 33;
  std::size_t userWords = 32;
  /// Size of the blocks in which the User bank can be locked permanently.
  std::size_t userBlockWords = 4;
  /// The whole TID bank, as the maker wrote it.
  Words tid = {0xE200, 0, 0, 0, 0, 0};
};

/// The largest EPC bank has room for 496 bits of EPC, the most that a PC can announce.
constexpr std::size_t kMinEpcBankWords = 2 + 1;
constexpr std::size_t kMaxEpcBankWords = 2 + 31;
/// The first words of the TID name the class and the model of the chip.
constexpr std::size_t kMinTidWords = 2;
/// More than any chip has; a bound for what a file may ask for.
constexpr std::size_t kMaxBankWords = 4096;

/// The kinds that need no file: "standard"; "epc-only" with 128 bits of EPC and no User bank;
/// "large-user" with 8 Kibit of User memory in blocks of 32 words.
const std::vector<TagKind>& BuiltInKinds();

/// Empty for a kind that a tag can have, else what is wrong with it.
std::string ProblemOf(const TagKind& kind);

}  // namespace Simulator
