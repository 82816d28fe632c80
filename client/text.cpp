#include "client/text.h"

#include "text/unicode.h"

namespace Tagwright {
namespace {

WideString FromAnsi(std::string_view bytes) {
  if (bytes.empty()) return {};
  const int length = static_cast<int>(bytes.size());
  const int size = MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, nullptr, 0);
  WideString text(static_cast<std::size_t>(size), WCHAR{});
  MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, text.data(), size);
  return text;
}

std::string ToAnsiOrQuestionMarks(std::basic_string_view<WCHAR> text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

}  // namespace

WideString ToWide(std::string_view utf8) { return Unicode::ToUtf16<WCHAR>(utf8); }

std::string ToUtf8(std::basic_string_view<WCHAR> text) { return Unicode::ToUtf8(text); }

std::optional<std::string> ToAnsi(std::basic_string_view<WCHAR> text) {
  std::string bytes = ToAnsiOrQuestionMarks(text);
  // A replacement, or a character that merely resembles the one meant, does not come back.
  if (FromAnsi(bytes) != text) return std::nullopt;
  return bytes;
}

std::string AnsiToUtf8(std::string_view bytes) { return ToUtf8(FromAnsi(bytes)); }

void TrimLineEnds(std::string& text) { text.erase(text.find_last_not_of("\r\n") + 1); }

}  // namespace Tagwright
