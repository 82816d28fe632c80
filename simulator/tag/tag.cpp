#include "simulator/tag/tag.h"

#include <algorithm>
#include <stdexcept>
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

TagMemory FactoryMemory(const TagKind& kind) {
  TagMemory memory;
  memory.kindName = kind.name;
  memory.banks = {Words(kReservedWords), Words(kind.epcBankWords), kind.tid, Words(kind.userWords)};
  memory.userBlockWords = kind.userBlockWords;
  memory.permalockedBlocks.resize(memory.UserBlockCount());
  memory.Of(Bank::kEpc)[kPcWord] =
      WithEpcWords(0, std::min(kFactoryEpcWords, kind.epcBankWords - kFirstEpcWord));
  return memory;
}

bool CanBeOfATag(const TagMemory& memory) {
  const Words& epc = memory.Of(Bank::kEpc);
  const TagKind kind{memory.kindName, epc.size(), memory.Of(Bank::kUser).size(),
                     memory.userBlockWords, memory.Of(Bank::kTid)};
  // The kind comes first: the others rely on a PC and on blocks that have a size.
  return ProblemOf(kind).empty() && EpcWordsOf(epc[kPcWord]) <= epc.size() - kFirstEpcWord &&
         memory.Of(Bank::kReserved).size() == kReservedWords &&
         memory.permalockedBlocks.size() == memory.UserBlockCount();
}

}  // namespace

const char* AnswerText(TagAnswer answer) {
  switch (answer) {
    case TagAnswer::kDone:
      return "done";
    case TagAnswer::kNoData:
      return "there is no data to write";
    case TagAnswer::kNoSuchLocation:
      return "no such memory location";
    case TagAnswer::kMemoryLocked:
      return "memory locked";
    case TagAnswer::kWrongPassword:
      return "wrong password";
    case TagAnswer::kNoKillPassword:
      return "the tag has no kill password";
    case TagAnswer::kInterrupted:
      return "insufficient power: the write stopped part-way";
    case TagAnswer::kRefused:
      return "permanent lock cannot be changed";
    default:
      return "no answer from the tag";
  }
}

std::size_t TagMemory::UserBlockCount() const {
  return (Of(Bank::kUser).size() + userBlockWords - 1) / userBlockWords;
}

Tag::Tag(const TagKind& kind) : Tag(FactoryMemory(kind)) {}

Tag::Tag(TagMemory memory) : _memory(std::move(memory)) {
  if (!CanBeOfATag(_memory)) throw std::invalid_argument("no tag has such memory");
  UpdateCrc();
}

std::uint32_t Tag::PasswordAt(std::size_t word) const {
  const Words& reserved = _memory.Of(Bank::kReserved);
  return std::uint32_t{reserved[word]} << 16 | reserved[word + 1];
}

std::uint32_t Tag::AccessPassword() const { return PasswordAt(kAccessPasswordWord); }

std::size_t Tag::EpcWords() const { return EpcWordsOf(_memory.Of(Bank::kEpc)[kPcWord]); }

Words Tag::Epc() const {
  const auto first = _memory.Of(Bank::kEpc).begin() + kFirstEpcWord;
  return Words(first, first + static_cast<std::ptrdiff_t>(EpcWords()));
}

void Tag::InterruptNextWrite(std::optional<std::size_t> words, bool erases) {
  _interruption = Interruption{words, erases};
}

void Tag::UpdateCrc() {
  Words& epc = _memory.Of(Bank::kEpc);
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
  if (bank == Bank::kUser && _memory.permalockedBlocks[word / _memory.userBlockWords]) return false;
  return IsWritable(FieldOf(bank, word), secured);
}

TagAnswer Tag::WriteEpc(const Words& epc, bool secured) {
  if (epc.empty()) return TagAnswer::kNoData;
  if (epc.size() > _memory.Of(Bank::kEpc).size() - kFirstEpcWord) return TagAnswer::kNoSuchLocation;
  Words pcAndEpc = {WithEpcWords(_memory.Of(Bank::kEpc)[kPcWord], epc.size())};
  pcAndEpc.insert(pcAndEpc.end(), epc.begin(), epc.end());
  return Write(Bank::kEpc, kPcWord, pcAndEpc, secured);
}

bool Tag::HasRoomFor(Bank bank, std::size_t offset, const Words& data) const {
  const std::size_t size = _memory.Of(bank).size();
  if (offset > size || data.size() > size - offset) return false;
  const bool writesPc = bank == Bank::kEpc && offset <= kPcWord && offset + data.size() > kPcWord;
  return !writesPc || EpcWordsOf(data[kPcWord - offset]) <= size - kFirstEpcWord;
}

TagAnswer Tag::Write(Bank bank, std::size_t offset, const Words& data, bool secured) {
  if (data.empty()) return TagAnswer::kNoData;
  if (!HasRoomFor(bank, offset, data)) return TagAnswer::kNoSuchLocation;
  for (std::size_t word = offset; word < offset + data.size(); ++word) {
    if (!IsWritable(bank, word, secured)) return TagAnswer::kMemoryLocked;
  }
  const TagAnswer answer = Program(_memory.Of(bank), offset, data);
  if (bank == Bank::kEpc) UpdateCrc();
  return answer;
}

TagAnswer Tag::Program(Words& words, std::size_t offset, const Words& data) {
  const auto interruption = std::exchange(_interruption, std::nullopt);
  std::size_t count = data.size();
  if (interruption) count = std::min(interruption->words.value_or(count / 2), count - 1);
  std::copy_n(data.begin(), count, words.begin() + static_cast<std::ptrdiff_t>(offset));
  if (!interruption) return TagAnswer::kDone;
  if (interruption->erases) words[offset + count] = 0;
  return TagAnswer::kInterrupted;
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
  const std::size_t blockCount = _memory.permalockedBlocks.size();
  if (count == 0 || first >= blockCount || count > blockCount - first) {
    return TagAnswer::kNoSuchLocation;
  }
  std::fill_n(_memory.permalockedBlocks.begin() + static_cast<std::ptrdiff_t>(first), count, true);
  return TagAnswer::kDone;
}

TagAnswer Tag::Kill(std::uint32_t password) {
  const std::uint32_t stored = PasswordAt(kKillPasswordWord);
  if (stored == 0) return TagAnswer::kNoKillPassword;
  if (password != stored) return TagAnswer::kWrongPassword;
  _memory.killed = true;
  return TagAnswer::kDone;
}

}  // namespace Simulator
