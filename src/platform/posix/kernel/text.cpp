#include "platform/posix/kernel/text.h"

#include <cstdint>

namespace platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstSupplementary = 0x10000;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

char32_t TakeUtf16(std::u16string_view text, std::size_t& position) {
  const char32_t first = text[position++];
  if (!IsHighSurrogate(first)) return IsLowSurrogate(first) ? kReplacement : first;
  if (position == text.size() || !IsLowSurrogate(text[position])) return kReplacement;
  const char32_t second = text[position++];
  return kFirstSupplementary + ((first - 0xD800) << 10) + (second - 0xDC00);
}

void AppendUtf8(std::string& text, char32_t point) {
  const auto tail = [point](int shift) {
    return static_cast<char>(0x80 | ((point >> shift) & 0x3F));
  };
  if (point < 0x80) {
    text += static_cast<char>(point);
  } else if (point < 0x800) {
    text += {static_cast<char>(0xC0 | (point >> 6)), tail(0)};
  } else if (point < kFirstSupplementary) {
    text += {static_cast<char>(0xE0 | (point >> 12)), tail(6), tail(0)};
  } else {
    text += {static_cast<char>(0xF0 | (point >> 18)), tail(12), tail(6), tail(0)};
  }
}

/// The form of a sequence by its first byte; `length` 0 for a byte that starts none.
struct Utf8Form {
  int length;
  char32_t bits;
  char32_t smallest;  // Anything below has a shorter form, so this one is malformed.
};

Utf8Form FormOf(std::uint8_t byte) {
  if (byte < 0x80) return {1, byte, 0};
  if (byte >= 0xC2 && byte < 0xE0) return {2, byte & 0x1FU, 0x80};
  if (byte >= 0xE0 && byte < 0xF0) return {3, byte & 0x0FU, 0x800};
  if (byte >= 0xF0 && byte < 0xF5) return {4, byte & 0x07U, kFirstSupplementary};
  return {0, 0, 0};
}

char32_t TakeUtf8(std::string_view text, std::size_t& position) {
  const Utf8Form form = FormOf(static_cast<std::uint8_t>(text[position++]));
  if (form.length == 0) return kReplacement;
  char32_t point = form.bits;
  for (int index = 1; index < form.length; ++index) {
    const bool isTail = position < text.size() && (text[position] & 0xC0) == 0x80;
    if (!isTail) return kReplacement;
    point = (point << 6) | (text[position++] & 0x3FU);
  }
  const bool isSurrogate = IsHighSurrogate(point) || IsLowSurrogate(point);
  return point < form.smallest || point > 0x10FFFF || isSurrogate ? kReplacement : point;
}

void AppendUtf16(std::u16string& text, char32_t point) {
  if (point < kFirstSupplementary) {
    text += static_cast<char16_t>(point);
    return;
  }
  const char32_t offset = point - kFirstSupplementary;
  text += {static_cast<char16_t>(0xD800 + (offset >> 10)),
           static_cast<char16_t>(0xDC00 + (offset & 0x3FF))};
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    AppendUtf8(result, TakeUtf16(text, position));
  }
  return result;
}

std::u16string ToUtf16(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    AppendUtf16(result, TakeUtf8(text, position));
  }
  return result;
}

std::string ToUtf8(const char16_t* text) {
  return text == nullptr ? std::string() : ToUtf8(std::u16string_view(text));
}

}  // namespace platform
