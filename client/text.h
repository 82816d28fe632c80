/// UTF-8 for files, arguments and terminals; UTF-16 for the system.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace Tagwright {

using WideString = std::basic_string<WCHAR>;

/// Malformed input becomes U+FFFD.
WideString ToWide(std::string_view utf8);
std::string ToUtf8(std::basic_string_view<WCHAR> text);

/// The text in the ANSI code page, in which a control pipe takes names; nothing when the code page
/// cannot express it.
std::optional<std::string> ToAnsi(std::basic_string_view<WCHAR> text);

/// Text in the ANSI code page, in which log files are written, as UTF-8.
std::string AnsiToUtf8(std::string_view bytes);

/// Takes off what ends the last line, in the form of either system, and empty lines behind it.
void TrimLineEnds(std::string& text);

}  // namespace Tagwright
