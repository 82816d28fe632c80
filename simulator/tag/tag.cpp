#include "simulator/tag/tag.h"

#include <algorithm>
#include <utility>

#include "simulator/tag/crc16.h"

namespace Simulator {
namespace {

constexpr std::size_t kKillPasswordWord = 0;
constexpr std::size_t kAccessPasswordWord = 2;
/// Words of the TID that are permanently locked at manufacture.
constexpr std::size_t kFixedTidWords = 2;
/// The PC's top five bits are the length of the EPC in words.
constexpr int kPcLengthShift = 11;
constexpr Word kPcLengthMask = 0xF800;
constexpr std::size_t kFactoryEpcWords = 6;
/// Class identifier of an EPC Gen2 tag, the first byte of its TID.
constexpr Word kTidClass = 0xE200;

std::size_t EpcWordsOf(Word pc) { return pc >> kPcLengthShift; }

Word WithEpcWords(Word pc, std::size_t words) {
  return static_cast<Word>((pc & ~kPcLengthMask) | words << kPcLengthShift);
}

LockField FieldOf(Bank bank, std::size_t word) {
  switch (bank) {
    case Bank::kReserved:
      return word < kAccessPasswordWord ? LockField::kKillPassword : LockField::kAccessPassword;
    case Bank::kEpc:
      return LockField::kEpc;
    case Bank::kTid:
      return LockField::kTid;
    default:
      return LockField::kUser;
  }
}

TagMemory FactoryMemory() {
  TagMemory memory;
  for (std::size_t bank = 0; bank < kBankCount; ++bank) memory.banks[bank].resize(kBankWords[bank]);
  memory.banks[static_cast<std::size_t>(Bank::kEpc)][kPcWord] = WithEpcWords(0, kFactoryEpcWords);
  memory.banks[static_cast<std::size_t>(Bank::kTid)][0] = kTidClass;
  return memory;
}

}  // namespace

const char* AnswerText(TagAnswer answer) {
  switch (answer) {
    case TagAnswer::kDone:
      return "done";
    case TagAnswer::kNoSuchLocation:
      return "no such memory location";
    case TagAnswer::kMemoryLocked:
      return "memory locked";
    case TagAnswer::kWrongPassword:
      return "wrong password";
    case TagAnswer::kRefused:
      return "permanent lock cannot be changed";
    default:
      return "no answer from the tag";
  }
}

Tag::Tag() : Tag(FactoryMemory()) {}

Tag::Tag(TagMemory memory) : _memory(std::move(memory)) { UpdateCrc(); }

std::uint32_t Tag::PasswordAt(std::size_t word) const {
  const Words& reserved = BankOf(Bank::kReserved);
  return std::uint32_t{reserved[word]} << 16 | reserved[word + 1];
}

std::uint32_t Tag::AccessPassword() const { return PasswordAt(kAccessPasswordWord); }

std::size_t Tag::EpcWords() const { return EpcWordsOf(BankOf(Bank::kEpc)[kPcWord]); }

void Tag::UpdateCrc() {
  Words& epc = BankOf(Bank::kEpc);
  epc[kCrcWord] = Crc16(&epc[kPcWord], 1 + EpcWords());
}

bool Tag::IsWritable(LockField field, bool secured) const {
  switch (_memory.locks.Of(field)) {
    case LockState::kLocked:
      return secured;
    case LockState::kLockedForever:
      return false;
    default:
      return true;
  }
}

bool Tag::IsWritable(Bank bank, std::size_t word, bool secured) const {
  if (bank == Bank::kEpc && word == kCrcWord) return false;
  if (bank == Bank::kTid && word < kFixedTidWords) return false;
  if (bank == Bank::kUser && _memory.permalockedBlocks[word / kUserBlockWords]) return false;
  return IsWritable(FieldOf(bank, word), secured);
}

TagAnswer Tag::WriteEpc(const Words& epc, bool secured) {
  if (epc.empty() || epc.size() > kMaxEpcWords) return TagAnswer::kNoSuchLocation;
  Words pcAndEpc = {WithEpcWords(BankOf(Bank::kEpc)[kPcWord], epc.size())};
  pcAndEpc.insert(pcAndEpc.end(), epc.begin(), epc.end());
  return Write(Bank::kEpc, kPcWord, pcAndEpc, secured);
}

TagAnswer Tag::Write(Bank bank, std::size_t offset, const Words& data, bool secured) {
  Words& words = BankOf(bank);
  if (data.empty() || offset > words.size() || data.size() > words.size() - offset) {
    return TagAnswer::kNoSuchLocation;
  }
  for (std::size_t word = offset; word < offset + data.size(); ++word) {
    if (!IsWritable(bank, word, secured)) return TagAnswer::kMemoryLocked;
  }
  std::copy(data.begin(), data.end(), words.begin() + static_cast<std::ptrdiff_t>(offset));
  if (bank == Bank::kEpc) UpdateCrc();
  return TagAnswer::kDone;
}

TagAnswer Tag::SetPassword(std::size_t word, std::uint32_t password, bool secured) {
  return Write(Bank::kReserved, word,
               {static_cast<Word>(password >> 16), static_cast<Word>(password & 0xFFFF)}, secured);
}

TagAnswer Tag::SetAccessPassword(std::uint32_t password, bool secured) {
  return SetPassword(kAccessPasswordWord, password, secured);
}

TagAnswer Tag::SetKillPassword(std::uint32_t password, bool secured) {
  return SetPassword(kKillPasswordWord, password, secured);
}

TagAnswer Tag::Lock(const LockPayload& payload) {
  return _memory.locks.Apply(payload) ? TagAnswer::kDone : TagAnswer::kRefused;
}

TagAnswer Tag::PermalockUserBlocks(std::size_t first, std::size_t count) {
  if (count == 0 || first >= kUserBlockCount || count > kUserBlockCount - first) {
    return TagAnswer::kNoSuchLocation;
  }
  std::fill_n(_memory.permalockedBlocks.begin() + static_cast<std::ptrdiff_t>(first), count, true);
  return TagAnswer::kDone;
}

TagAnswer Tag::Kill(std::uint32_t password) {
  const std::uint32_t stored = PasswordAt(kKillPasswordWord);
  if (stored == 0 || password != stored) return TagAnswer::kWrongPassword;
  _memory.killed = true;
  return TagAnswer::kDone;
}

}  // namespace Simulator
