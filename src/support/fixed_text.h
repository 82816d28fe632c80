/// Text in a buffer of its own, for code that must not use the heap.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "platform/windows_api.h"

/// What does not fit is cut. Always NUL-terminated.
template <std::size_t kCapacity>
class FixedText {
 public:
  FixedText& operator<<(std::string_view text) {
    const std::size_t count = std::min(text.size(), kCapacity - 1 - _length);
    std::copy_n(text.data(), count, _characters + _length);
    _length += count;
    _characters[_length] = 0;
    return *this;
  }

  /// Exactly `digits` digits, the last of a longer number.
  FixedText& AppendDecimal(DWORD value, int digits) {
    constexpr DWORD kBase = 10;
    return AppendDigits(value, digits, kBase);
  }
  FixedText& AppendHex(DWORD value) {
    constexpr DWORD kBase = 16;
    constexpr int kDigits = 8;
    return AppendDigits(value, kDigits, kBase);
  }

  std::string_view View() const { return {_characters, _length}; }
  const char* nstring() const { return _characters; }
  void Clear() { _characters[_length = 0] = 0; }

 private:
  FixedText& AppendDigits(DWORD value, int digits, DWORD base) {
    if (digits > 1) AppendDigits(value / base, digits - 1, base);
    return *this << std::string_view("0123456789ABCDEF").substr(value % base, 1);
  }

  char _characters[kCapacity] = {};
  std::size_t _length = 0;
};
