#include "client/text.h"

namespace Tagwright {
namespace {

WideString FromCodePage(UINT codePage, std::string_view bytes) {
  if (bytes.empty()) return {};
  const int length = static_cast<int>(bytes.size());
  const int size = MultiByteToWideChar(codePage, 0, bytes.data(), length, nullptr, 0);
  WideString text(static_cast<std::size_t>(size), WCHAR{});
  MultiByteToWideChar(codePage, 0, bytes.data(), length, text.data(), size);
  return text;
}

std::string ToCodePage(UINT codePage, std::basic_string_view<WCHAR> text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

}  // namespace

WideString ToWide(std::string_view utf8) { return FromCodePage(CP_UTF8, utf8); }

std::string ToUtf8(std::basic_string_view<WCHAR> text) { return ToCodePage(CP_UTF8, text); }

std::optional<std::string> ToAnsi(std::basic_string_view<WCHAR> text) {
  std::string bytes = ToCodePage(CP_ACP, text);
  // A replacement, or a character that merely resembles the one meant, does not come back.
  if (FromCodePage(CP_ACP, bytes) != text) return std::nullopt;
  return bytes;
}

std::string AnsiToUtf8(std::string_view bytes) { return ToUtf8(FromCodePage(CP_ACP, bytes)); }

}  // namespace Tagwright
