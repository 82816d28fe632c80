/// Text as the layer uses it: UTF-8 for the system underneath, UTF-16 for the callers.
#pragma once

#include <string>
#include <string_view>

#include "text/unicode.h"

namespace platform {

inline std::string ToUtf8(std::u16string_view text) { return Unicode::ToUtf8(text); }
/// Null counts as empty.
inline std::string ToUtf8(const char16_t* text) {
  return text == nullptr ? std::string() : ToUtf8(std::u16string_view(text));
}
inline std::u16string ToUtf16(std::string_view text) { return Unicode::ToUtf16<char16_t>(text); }

/// How many of the text's first `maxBytes` bytes are whole characters. The text is valid UTF-8.
std::size_t SizeOfWholeCharacters(std::string_view text, std::size_t maxBytes);

/// Folds the letter case of each unit by itself, as the system does for the names of its objects.
/// The process's locale has no part in it: every process must fold alike.
std::u16string ToLower(std::u16string_view text);
std::u16string ToUpper(std::u16string_view text);

}  // namespace platform
