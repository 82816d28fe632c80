/// UTF-8 and UTF-16, for every layer and both systems. No locale and no code page is involved.
///
/// Malformed input becomes U+FFFD: one for each sequence of UTF-8 that is cut short, too long for
/// its character or starts with no lead byte, and one for each surrogate without its partner.
#pragma once

#include <utf8cpp/utf8.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

namespace Unicode {

constexpr char32_t kReplacement = 0xFFFD;

/// How many bytes at the start of `utf8` are well formed.
inline std::size_t ValidPrefix(std::string_view utf8) {
  return static_cast<std::size_t>(utf8::find_invalid(utf8.begin(), utf8.end()) - utf8.begin());
}

/// `Unit` is the system's character of 16 bits.
template <class Unit>
std::basic_string<Unit> ToUtf16(std::string_view utf8) {
  static_assert(sizeof(Unit) == 2);
  std::string repaired;
  if (ValidPrefix(utf8) < utf8.size()) {
    utf8::replace_invalid(utf8.begin(), utf8.end(), std::back_inserter(repaired), kReplacement);
    utf8 = repaired;
  }
  std::basic_string<Unit> utf16;
  utf16.reserve(utf8.size());
  utf8::unchecked::utf8to16(utf8.begin(), utf8.end(), std::back_inserter(utf16));
  return utf16;
}

template <class Unit>
std::string ToUtf8(std::basic_string_view<Unit> utf16) {
  static_assert(sizeof(Unit) == 2);
  const auto isSurrogate = [](char32_t unit, char32_t first) {
    return unit >= first && unit < first + 0x400;
  };
  const auto asciiEnd = std::find_if(utf16.begin(), utf16.end(),
                                     [](Unit unit) { return static_cast<char16_t>(unit) >= 0x80; });
  std::string utf8(utf16.begin(), asciiEnd);  // Most texts have nothing else.
  for (std::size_t at = utf8.size(); at < utf16.size(); ++at) {
    char32_t point = static_cast<char16_t>(utf16[at]);
    const char32_t next = at + 1 < utf16.size() ? static_cast<char16_t>(utf16[at + 1]) : 0;
    if (isSurrogate(point, 0xD800) && isSurrogate(next, 0xDC00)) {
      point = 0x10000 + ((point - 0xD800) << 10) + (next - 0xDC00);
      ++at;
    } else if (isSurrogate(point, 0xD800) || isSurrogate(point, 0xDC00)) {
      point = kReplacement;
    }
    utf8::unchecked::append(point, std::back_inserter(utf8));
  }
  return utf8;
}

}  // namespace Unicode
