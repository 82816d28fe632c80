/// A simulated UHF tag (EPC Class 1 Generation 2): its memory, and what its state allows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/tag/lock_bits.h"
#include "simulator/tag/tag_kind.h"
#include "simulator/tag/words.h"

namespace Simulator {

enum class Bank { kReserved = 0, kEpc = 1, kTid = 2, kUser = 3 };
constexpr std::size_t kBankCount = 4;

constexpr std::size_t kReservedWords = 4;
constexpr std::size_t kCrcWord = 0;
constexpr std::size_t kPcWord = 1;
constexpr std::size_t kFirstEpcWord = 2;

/// How a tag answers an operation.
enum class TagAnswer {
  kDone,
  kNoData,          ///< nothing to write
  kNoSuchLocation,  ///< outside the bank, or a PC that announces a longer EPC than the bank holds
  kMemoryLocked,    ///< the lock state forbids it
  kWrongPassword,
  kNoKillPassword,  ///< a tag without a kill password cannot be killed
  kRefused,         ///< a lock that would change a permanent state
  kInterrupted,     ///< the write stopped part-way; the words before are written
  kSilent,          ///< a killed tag, or none in the field
};

/// The words an operator reads in a log.
const char* AnswerText(TagAnswer answer);

/// All that a tag remembers, as it is stored. The first EPC word is the CRC over PC and EPC.
struct TagMemory {
  std::string kindName;
  std::array<Words, kBankCount> banks;
  LockBits locks;
  std::size_t userBlockWords = 0;
  /// One for each block of the User bank; the last one may be shorter than the others.
  std::vector<bool> permalockedBlocks;
  bool killed = false;

  Words& Of(Bank bank) { return banks[static_cast<std::size_t>(bank)]; }
  const Words& Of(Bank bank) const { return banks[static_cast<std::size_t>(bank)]; }
  /// The number of blocks in the User bank.
  std::size_t UserBlockCount() const;
};

/// `secured` is the state that the right access password gives; a tag whose access password is zero
/// is in it at once. No operation changes anything unless it answers kDone or kInterrupted. Check
/// IsKilled first.
class Tag {
 public:
  /// Blank as from the factory: an EPC of zeros, 96 bits long when the bank has room for them, no
  /// passwords, nothing locked.
  explicit Tag(const TagKind& kind = TagKind());
  /// Computes the CRC anew. Throws std::invalid_argument for banks that no tag has.
  explicit Tag(TagMemory memory);

  const TagMemory& Memory() const { return _memory; }
  bool IsKilled() const { return _memory.killed; }
  std::uint32_t AccessPassword() const;
  std::size_t EpcWords() const;
  Words Epc() const;

  /// Makes the next write of at least one word answer kInterrupted. Without a number of words it
  /// stops half-way; a number that is no less than the write's stops before its last word.
  void InterruptNextWrite(std::optional<std::size_t> words, bool erases);

  /// Replaces the EPC in one write that begins with the PC, whose length goes with it as the CRC
  /// does.
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
  std::uint32_t PasswordAt(std::size_t word) const;
  TagAnswer SetPassword(std::size_t word, std::uint32_t password, bool secured);
  bool IsWritable(LockField field, bool secured) const;
  bool IsWritable(Bank bank, std::size_t word, bool secured) const;
  bool HasRoomFor(Bank bank, std::size_t offset, const Words& data) const;
  TagAnswer Program(Words& words, std::size_t offset, const Words& data);
  void UpdateCrc();

  struct Interruption {
    std::optional<std::size_t> words;
    bool erases;
  };

  TagMemory _memory;
  std::optional<Interruption> _interruption;
};

}  // namespace Simulator
