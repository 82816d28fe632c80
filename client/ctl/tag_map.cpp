#include "client/ctl/tag_map.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string_view>
#include <vector>

#include "simulator/tag/lock_names.h"

namespace Ctl {
namespace {

using Simulator::Bank;
using Simulator::LockField;
using Simulator::Tag;
using Simulator::Word;
using Simulator::Words;

constexpr std::size_t kWordsPerLine = 8;

const Words& BankOf(const Tag& tag, Bank bank) { return tag.Memory().Of(bank); }

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

/// Two characters a word; a dot for what is no printable ASCII.
std::string TextOf(const Words& words, std::size_t first, std::size_t count) {
  std::string text;
  for (std::size_t word = first; word < first + count; ++word) {
    for (const unsigned byte : {words[word] / 0x100U, words[word] % 0x100U}) {
      text += byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.';
    }
  }
  return text;
}

std::string WordLinesWithText(const Words& words) {
  constexpr std::size_t kCharactersPerWord = 5;
  std::string lines;
  for (std::size_t first = 0; first < words.size(); first += kWordsPerLine) {
    const std::size_t count = std::min(kWordsPerLine, words.size() - first);
    lines += WordLine(words, first, count) +
             std::string((kWordsPerLine - count) * kCharactersPerWord, ' ') + "  |" +
             TextOf(words, first, count) + "|";
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
  const std::vector<bool>& permalocked = tag.Memory().permalockedBlocks;
  std::string blocks;
  for (std::size_t block = 0; block < permalocked.size(); ++block) {
    if (permalocked[block]) blocks += " " + std::to_string(block);
  }
  return blocks.empty() ? "" : ", permalocked blocks" + blocks;
}

std::string EpcSummary(const Tag& tag) {
  return "EPC " + Simulator::FormatWords(tag.Epc()) + " (" + std::to_string(tag.EpcWords() * 16) +
         " bits)";
}

using Lines = std::vector<std::string>;

/// The summary and the banks, so that a line more in one of them does not shift the others.
std::vector<Lines> SectionsOf(const std::string& description) {
  std::vector<Lines> sections(1);
  std::istringstream stream(description);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("bank ")) sections.emplace_back();
    sections.back().push_back(line);
  }
  return sections;
}

std::string LineAt(const Lines& lines, std::size_t index) {
  return index < lines.size() ? lines[index] : "";
}

std::string ChangesOf(const Lines& before, const Lines& now) {
  std::string changes;
  for (std::size_t line = 0; line < std::max(before.size(), now.size()); ++line) {
    const std::string was = LineAt(before, line), is = LineAt(now, line);
    if (was == is) continue;
    if (!was.empty()) changes += "\n- " + was;
    if (!is.empty()) changes += "\n+ " + is;
  }
  const bool isHeaderShown = before.front() != now.front() || !now.front().starts_with("bank ");
  return changes.empty() || isHeaderShown ? changes : "\n  " + now.front() + changes;
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
  if (BankOf(tag, Bank::kUser).empty()) return text + "\nbank 3 User: the tag has none";
  text += "\nbank 3 User: " + LockStateOf(tag, LockField::kUser) + PermalockedBlocks(tag);
  text += WordLinesWithText(BankOf(tag, Bank::kUser));
  return text;
}

std::string DescribeChanges(const Tag& before, const Tag& now, bool showPasswords) {
  const std::vector<Lines> was = SectionsOf(DescribeTag(before, showPasswords));
  const std::vector<Lines> is = SectionsOf(DescribeTag(now, showPasswords));
  std::string changes;
  for (std::size_t section = 0; section < is.size(); ++section) {
    changes += ChangesOf(was[section], is[section]);
  }
  return changes.empty() ? "" : changes.substr(1);
}

}  // namespace Ctl
