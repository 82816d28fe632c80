/// The code pages of the layer: each converts one character at a time between bytes and UTF-16.
#pragma once

#include <iconv.h>

#include <array>
#include <cstddef>
#include <mutex>

#include "platform/posix/api/base.h"

namespace platform {

/// A code page over one pair of iconv descriptors, which are opened at first use and kept. Any
/// thread may call it. Characters below 0x80 are the same in every page and take no conversion.
class IconvPage {
 public:
  /// One character of the other side and what it took from this side. An invalid one takes a single
  /// unit and gives the replacement.
  template <class Char>
  struct Piece {
    std::array<Char, 8> units;
    std::size_t unitCount;
    std::size_t consumed;
  };

  /// Null for a page that the layer does not have. The object lives as long as the process.
  static IconvPage* Find(UINT number);

  /// `keepsC1`: bytes 0x80 to 0x9F without a character of their own stand for U+0080 to U+009F, as
  /// in the Windows pages. `name` is that of iconv, where that is not "CP" and the number.
  constexpr IconvPage(UINT number, bool keepsC1, const char* name = nullptr)
      : _number(number), _keepsC1(keepsC1), _name(name) {}

  /// Takes the first character of `text`, which has `count` > 0 units.
  Piece<WCHAR> ToWide(const char* text, std::size_t count);
  Piece<char> ToNarrow(const WCHAR* text, std::size_t count);

 private:
  bool Open();
  /// What stands for invalid bytes.
  WCHAR Invalid() const;
  bool Decode(const char* bytes, std::size_t count, Piece<WCHAR>& piece);
  bool Encode(const WCHAR* units, std::size_t count, Piece<char>& piece);
  bool IsC1Byte(WCHAR character);

  const UINT _number;
  const bool _keepsC1;
  const char* const _name;
  std::mutex _lock;
  iconv_t _decoder = nullptr;
  iconv_t _encoder = nullptr;
};

}  // namespace platform
