#include "platform/posix/processes/command_line.h"

#include <algorithm>
#include <utility>

namespace platform {
namespace {

constexpr std::u16string_view kBlanks = u" \t";

bool IsBlank(char16_t c) { return kBlanks.find(c) != kBlanks.npos; }

class Splitter {
 public:
  explicit Splitter(std::u16string_view text) : _rest(text) {}

  std::vector<std::u16string> Split() {
    std::vector<std::u16string> words{TakeProgram()};
    for (SkipBlanks(); !_rest.empty(); SkipBlanks()) words.push_back(TakeArgument());
    return words;
  }

 private:
  void SkipBlanks() {
    _rest.remove_prefix(std::min(_rest.find_first_not_of(kBlanks), _rest.size()));
  }

  char16_t Take() {
    const char16_t first = _rest.front();
    _rest.remove_prefix(1);
    return first;
  }

  std::u16string TakeProgram() {
    std::u16string word;
    bool isQuoted = false;
    while (!_rest.empty() && (isQuoted || !IsBlank(_rest.front()))) {
      const char16_t c = Take();
      if (c == u'"') {
        isQuoted = !isQuoted;
      } else {
        word += c;
      }
    }
    return word;
  }

  std::u16string TakeArgument() {
    std::u16string word;
    bool isQuoted = false;
    while (!_rest.empty() && (isQuoted || !IsBlank(_rest.front()))) {
      if (TakeBackslashes(word)) continue;
      const char16_t c = Take();
      if (c != u'"') {
        word += c;
      } else if (isQuoted && _rest.starts_with(u'"')) {
        word += Take();
      } else {
        isQuoted = !isQuoted;
      }
    }
    return word;
  }

  /// Takes a run of backslashes, with the quote that an odd one makes a character.
  bool TakeBackslashes(std::u16string& word) {
    const std::size_t count = std::min(_rest.find_first_not_of(u'\\'), _rest.size());
    if (count == 0) return false;
    _rest.remove_prefix(count);
    const bool isBeforeQuote = _rest.starts_with(u'"');
    word.append(isBeforeQuote ? count / 2 : count, u'\\');
    if (isBeforeQuote && count % 2 == 1) word += Take();
    return true;
  }

  std::u16string_view _rest;
};

}  // namespace

std::vector<std::u16string> SplitCommandLine(std::u16string_view commandLine) {
  return Splitter(commandLine).Split();
}

}  // namespace platform
