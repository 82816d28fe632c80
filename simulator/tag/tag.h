/// A simulated UHF tag (EPC Class 1 Generation 2): its memory, and what its state allows.
#pragma once

#include <array>
#include <cstdint>

#include "simulator/tag/lock_bits.h"
#include "simulator/tag/words.h"

namespace Simulator {

enum class Bank { kReserved = 0, kEpc = 1, kTid = 2, kUser = 3 };
constexpr std::size_t kBankCount = 4;

/// Sizes in words. Reserved: kill and access password; EPC: CRC, PC and 496 bits; TID: 96 bits;
/// User: 512 bits, the common sizes of a chip.
constexpr std::array<std::size_t, kBankCount> kBankWords = {4, 33, 6, 32};
constexpr std::size_t kCrcWord = 0;
constexpr std::size_t kPcWord = 1;
constexpr std::size_t kFirstEpcWord = 2;
constexpr std::size_t kMaxEpcWords = 31;
constexpr std::size_t kUserBlockWords = 4;
constexpr std::size_t kUserBlockCount = kBankWords[3] / kUserBlockWords;

/// How a tag answers an operation.
enum class TagAnswer {
  kDone,
  kNoSuchLocation,  ///< outside the bank, or nothing to write
  kMemoryLocked,    ///< the lock state forbids it
  kWrongPassword,
  kRefused,  ///< a lock that would change a permanent state
  kSilent,   ///< a killed tag
};

/// The words an operator reads in a log.
const char* AnswerText(TagAnswer answer);

/// All that a tag remembers, as it is stored. The first EPC word is the CRC over PC and EPC.
struct TagMemory {
  std::array<Words, kBankCount> banks;
  LockBits locks;
  std::array<bool, kUserBlockCount> permalockedBlocks{};
  bool killed = false;
};

/// `secured` tells of the state that the right access password gives; a tag whose access password
/// is zero is in it at once. No operation changes anything unless it answers kDone. Check IsKilled
/// first.
class Tag {
 public:
  /// Blank as from the factory: an EPC of 96 zero bits, no passwords, nothing locked.
  Tag();
  /// Takes banks of the sizes of kBankWords; the CRC is computed anew.
  explicit Tag(TagMemory memory);

  const TagMemory& Memory() const { return _memory; }
  bool IsKilled() const { return _memory.killed; }
  std::uint32_t AccessPassword() const;
  std::size_t EpcWords() const;

  /// Replaces the EPC; the PC's length and the CRC go with it.
  TagAnswer WriteEpc(const Words& epc, bool secured);
  /// Writes from word `offset`. The CRC and the first two words of the TID are never writable.
  TagAnswer Write(Bank bank, std::size_t offset, const Words& data, bool secured);
  TagAnswer SetAccessPassword(std::uint32_t password, bool secured);
  TagAnswer SetKillPassword(std::uint32_t password, bool secured);
  /// In the secured state only, as PermalockUserBlocks.
  TagAnswer Lock(const LockPayload& payload);
  /// Permanently locks `count` blocks of the User bank from block `first`.
  TagAnswer PermalockUserBlocks(std::size_t first, std::size_t count);
  /// Needs a kill password that is not zero; afterwards the tag never answers again.
  TagAnswer Kill(std::uint32_t password);

 private:
  Words& BankOf(Bank bank) { return _memory.banks[static_cast<std::size_t>(bank)]; }
  const Words& BankOf(Bank bank) const { return _memory.banks[static_cast<std::size_t>(bank)]; }
  std::uint32_t PasswordAt(std::size_t word) const;
  TagAnswer SetPassword(std::size_t word, std::uint32_t password, bool secured);
  bool IsWritable(LockField field, bool secured) const;
  bool IsWritable(Bank bank, std::size_t word, bool secured) const;
  void UpdateCrc();

  TagMemory _memory;
};

}  // namespace Simulator
