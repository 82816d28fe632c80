/// 16-bit words, the unit of tag memory, and their hexadecimal text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/windows_api.h"
#include "support/secure_wipe.h"

namespace Simulator {

/// Wipes memory before it gives it back: tag memory holds data and passwords.
template <class Value>
struct WipingAllocator {
  using value_type = Value;

  WipingAllocator() = default;
  template <class Other>
  explicit WipingAllocator(const WipingAllocator<Other>&) {}

  Value* allocate(std::size_t count) { return std::allocator<Value>().allocate(count); }
  void deallocate(Value* values, std::size_t count) {
    SecureWipe(values, count * sizeof(Value));
    std::allocator<Value>().deallocate(values, count);
  }
  bool operator==(const WipingAllocator&) const = default;
};

using Word = std::uint16_t;
using Words = std::vector<Word, WipingAllocator<Word>>;

/// Four digits a word, most significant first, either letter case, nothing between them. Nothing
/// for any other character or an incomplete word; an empty text gives no words.
template <class Char>
std::optional<Words> ParseWords(std::basic_string_view<Char> text);

/// The same for words with blanks between them, as FormatWords writes them.
std::optional<Words> ParseSpacedWords(std::string_view text);

/// A password of 8 digits; the empty text is the password 0, which stands for none.
std::optional<std::uint32_t> ParsePassword(std::basic_string_view<WCHAR> text);

/// Upper-case digits, a blank between two words.
std::string FormatWords(const Words& words);

}  // namespace Simulator
