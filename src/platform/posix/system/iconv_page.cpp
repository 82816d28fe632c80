#include "platform/posix/system/iconv_page.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <string>

#include "platform/posix/api/code_pages.h"

namespace platform {
namespace {

static_assert(std::endian::native == std::endian::little);
constexpr const char* kWide = "UTF-16LE";

/// The most bytes that a character takes in any of the pages.
constexpr std::size_t kMaxBytes = 4;
constinit IconvPage g_pages[] = {
    {437, false},
    {850, false},
    {874, true},
    {932, false},
    {936, false},
    {949, false},
    {950, false},
    {1250, true},
    {1251, true},
    {1252, true},
    {1253, true},
    {1254, true},
    {1255, true},
    {1256, true},
    {1257, true},
    {1258, true},
    {1361, false, "JOHAB"},
    {20127, false, "ASCII"},
    {54936, false, "GB18030"},
    {CP_UTF8, false, "UTF-8"},
};

bool IsHighSurrogate(WCHAR unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(WCHAR unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// Whether the whole input is one character; its form goes to `piece`. The descriptor starts and
/// ends in its initial state, so pages whose iconv composes characters give each one by itself.
template <class In, class Out>
bool Convert(iconv_t converter, const In* text, std::size_t count, IconvPage::Piece<Out>& piece) {
  char* in = reinterpret_cast<char*>(const_cast<In*>(text));
  std::size_t inBytes = count * sizeof(In);
  char* out = reinterpret_cast<char*>(piece.units.data());
  std::size_t outBytes = sizeof(piece.units);
  const bool converted = iconv(converter, &in, &inBytes, &out, &outBytes) == 0 &&
                         iconv(converter, nullptr, nullptr, &out, &outBytes) == 0;
  if (!converted) iconv(converter, nullptr, nullptr, nullptr, nullptr);
  piece.unitCount = (sizeof(piece.units) - outBytes) / sizeof(Out);
  piece.consumed = count;
  return converted;
}

}  // namespace

IconvPage* IconvPage::Find(UINT number) {
  auto* const page = std::find_if(std::begin(g_pages), std::end(g_pages),
                                  [&](const IconvPage& one) { return one._number == number; });
  return page == std::end(g_pages) ? nullptr : page;
}

WCHAR IconvPage::Invalid() const {
  constexpr UINT kJapanese = 932;
  constexpr WCHAR kKatakanaMiddleDot = 0x30FB, kReplacement = 0xFFFD;
  return _number == kJapanese ? kKatakanaMiddleDot : kReplacement;
}

bool IconvPage::Open() {
  const auto none = reinterpret_cast<iconv_t>(-1);
  if (_decoder == nullptr) {
    const std::string name = _name != nullptr ? _name : "CP" + std::to_string(_number);
    _decoder = iconv_open(kWide, name.c_str());
    _encoder = iconv_open(name.c_str(), kWide);
  }
  return _decoder != none && _encoder != none;
}

bool IconvPage::Decode(const char* bytes, std::size_t count, Piece<WCHAR>& piece) {
  const std::lock_guard lock(_lock);
  return Open() && Convert(_decoder, bytes, count, piece);
}

bool IconvPage::Encode(const WCHAR* units, std::size_t count, Piece<char>& piece) {
  const std::lock_guard lock(_lock);
  return Open() && Convert(_encoder, units, count, piece);
}

IconvPage::Piece<WCHAR> IconvPage::ToWide(const char* text, std::size_t count) {
  const auto first = static_cast<BYTE>(*text);
  if (first < 0x80) return {{first}, 1, 1};
  Piece<WCHAR> piece{};
  for (std::size_t length = 1; length <= std::min(count, kMaxBytes); ++length) {
    if (Decode(text, length, piece)) return piece;
  }
  const WCHAR replacement = _keepsC1 && first < 0xA0 ? WCHAR{first} : Invalid();
  return {{replacement}, 1, 1};
}

IconvPage::Piece<char> IconvPage::ToNarrow(const WCHAR* text, std::size_t count) {
  const WCHAR first = *text;
  if (first < 0x80) return {{static_cast<char>(first)}, 1, 1};
  const bool isPair = count > 1 && IsHighSurrogate(first) && IsLowSurrogate(text[1]);
  Piece<char> piece{};
  if (Encode(text, isPair ? 2 : 1, piece)) return piece;
  if (IsC1Byte(first)) return {{static_cast<char>(first)}, 1, 1};
  if (_number == CP_UTF8) return {{'\xEF', '\xBF', '\xBD'}, 3, 1};
  return {{'?'}, 1, 1};
}

bool IconvPage::IsC1Byte(WCHAR character) {
  if (!_keepsC1 || character >= 0xA0) return false;
  const char byte = static_cast<char>(character);
  Piece<WCHAR> piece{};
  return !Decode(&byte, 1, piece);
}

}  // namespace platform
