#include "client/ctl/tag_map.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "simulator/tag/tag_store.h"

namespace Ctl {
namespace {

using Simulator::Bank;
using Simulator::LockField;
using Simulator::Tag;
using Simulator::Word;
using Simulator::Words;

constexpr std::size_t kWordsPerLine = 8;

const Words& BankOf(const Tag& tag, Bank bank) {
  return tag.Memory().banks[static_cast<std::size_t>(bank)];
}

std::string LockStateOf(const Tag& tag, LockField field) {
  return Simulator::LockStateName(tag.Memory().locks.Of(field));
}

/// "   8  0000 0000 ...": the number of the first word, then `count` words.
std::string WordLine(const Words& words, std::size_t first, std::size_t count) {
  char number[16];
  std::snprintf(number, sizeof(number), "\n  %4zu  ", first);
  return number +
         Simulator::FormatWords(Words(words.begin() + static_cast<std::ptrdiff_t>(first),
                                      words.begin() + static_cast<std::ptrdiff_t>(first + count)));
}

std::string WordLines(const Words& words) {
  std::string lines;
  for (std::size_t first = 0; first < words.size(); first += kWordsPerLine) {
    lines += WordLine(words, first, std::min(kWordsPerLine, words.size() - first));
  }
  return lines;
}

std::string PasswordLine(const Tag& tag, std::size_t word, const char* name, LockField field,
                         bool show) {
  const Words& reserved = BankOf(tag, Bank::kReserved);
  const bool set = reserved[word] != 0 || reserved[word + 1] != 0;
  const std::string line =
      show ? WordLine(reserved, word, 2)
           : "\n  " + std::string(3, ' ') + std::to_string(word) + "  **** ****";
  return line + "  " + name + ", " + (set ? "set" : "not set") + ", " + LockStateOf(tag, field);
}

std::string PermalockedBlocks(const Tag& tag) {
  std::string blocks;
  for (std::size_t block = 0; block < Simulator::kUserBlockCount; ++block) {
    if (tag.Memory().permalockedBlocks[block]) blocks += " " + std::to_string(block);
  }
  return blocks.empty() ? "" : ", permalocked blocks" + blocks;
}

std::string EpcSummary(const Tag& tag) {
  const Words& bank = BankOf(tag, Bank::kEpc);
  const auto begin = bank.begin() + Simulator::kFirstEpcWord;
  const Words epc(begin, begin + static_cast<std::ptrdiff_t>(tag.EpcWords()));
  return "EPC " + Simulator::FormatWords(epc) + " (" + std::to_string(tag.EpcWords() * 16) +
         " bits)";
}

}  // namespace

std::string DescribeTag(const Tag& tag, bool showPasswords) {
  std::string text = EpcSummary(tag);
  if (tag.IsKilled()) text += "\nkilled: it never answers again";
  text += "\nbank 0 Reserved";
  text += PasswordLine(tag, 0, "kill password", LockField::kKillPassword, showPasswords);
  text += PasswordLine(tag, 2, "access password", LockField::kAccessPassword, showPasswords);
  text += "\nbank 1 EPC: word 0 CRC, word 1 PC, then the EPC; " + LockStateOf(tag, LockField::kEpc);
  text += WordLines(BankOf(tag, Bank::kEpc));
  text += "\nbank 2 TID: " + LockStateOf(tag, LockField::kTid);
  text += WordLines(BankOf(tag, Bank::kTid));
  text += "\nbank 3 User: " + LockStateOf(tag, LockField::kUser) + PermalockedBlocks(tag);
  text += WordLines(BankOf(tag, Bank::kUser));
  return text;
}

}  // namespace Ctl
