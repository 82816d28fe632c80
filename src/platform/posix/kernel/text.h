/// UTF-8 for the system underneath, UTF-16 for the callers. Malformed input becomes U+FFFD; no
/// locale and no code page is involved.
#pragma once

#include <string>
#include <string_view>

namespace platform {

std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view text);
/// Null counts as empty.
std::string ToUtf8(const char16_t* text);

}  // namespace platform
