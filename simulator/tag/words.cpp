#include "simulator/tag/words.h"

namespace Simulator {
namespace {

constexpr std::size_t kDigitsPerWord = 4;

template <class Char>
std::optional<unsigned> DigitValue(Char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return std::nullopt;
}

template <class Char>
std::optional<Word> ParseWord(std::basic_string_view<Char> digits) {
  unsigned value = 0;
  for (const Char digit : digits) {
    const std::optional<unsigned> next = DigitValue(digit);
    if (!next) return std::nullopt;
    value = value * 16 + *next;
  }
  return static_cast<Word>(value);
}

}  // namespace

template <class Char>
std::optional<Words> ParseWords(std::basic_string_view<Char> text) {
  Words words;
  words.reserve(text.size() / kDigitsPerWord);
  for (; !text.empty(); text.remove_prefix(kDigitsPerWord)) {
    if (text.size() < kDigitsPerWord) return std::nullopt;
    const std::optional<Word> word = ParseWord(text.substr(0, kDigitsPerWord));
    if (!word) return std::nullopt;
    words.push_back(*word);
  }
  return words;
}

template std::optional<Words> ParseWords(std::basic_string_view<char> text);
template std::optional<Words> ParseWords(std::basic_string_view<WCHAR> text);

std::optional<Words> ParseSpacedWords(std::string_view text) {
  Words words;
  words.reserve(text.size() / kDigitsPerWord);
  while (!text.empty()) {
    const std::optional<Word> word =
        text.size() < kDigitsPerWord ? std::nullopt : ParseWord(text.substr(0, kDigitsPerWord));
    if (!word) return std::nullopt;
    words.push_back(*word);
    text.remove_prefix(kDigitsPerWord);
    if (text.starts_with(' ')) text.remove_prefix(1);
  }
  return words;
}

std::optional<std::uint32_t> ParsePassword(std::basic_string_view<WCHAR> text) {
  if (text.empty()) return 0;
  const std::optional<Words> words = ParseWords(text);
  if (!words || words->size() != 2) return std::nullopt;
  return std::uint32_t{(*words)[0]} << 16 | (*words)[1];
}

std::string FormatWords(const Words& words) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(words.size() * (kDigitsPerWord + 1));
  for (const Word word : words) {
    if (!text.empty()) text += ' ';
    for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[word >> shift & 0xF];
  }
  return text;
}

}  // namespace Simulator
