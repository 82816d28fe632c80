#include "platform/posix/kernel/text.h"

#include <locale.h>
#include <wctype.h>

namespace platform {
namespace {

std::u16string Fold(std::u16string_view text, wint_t (*fold)(wint_t, locale_t)) {
  static const locale_t locale = [] {
    const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return unicode != nullptr ? unicode : newlocale(LC_CTYPE_MASK, "C", nullptr);
  }();
  std::u16string folded(text);
  for (char16_t& unit : folded) {
    const wint_t other = fold(unit, locale);
    if (other <= 0xFFFF) unit = static_cast<char16_t>(other);
  }
  return folded;
}

bool IsContinuationByte(char byte) { return (byte & 0xC0) == 0x80; }

}  // namespace

std::size_t SizeOfWholeCharacters(std::string_view text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) return text.size();
  std::size_t size = maxBytes;
  while (IsContinuationByte(text[size])) --size;
  return size;
}

std::u16string ToLower(std::u16string_view text) { return Fold(text, towlower_l); }

std::u16string ToUpper(std::u16string_view text) { return Fold(text, towupper_l); }

}  // namespace platform
