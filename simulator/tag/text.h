/// UTF-8 and UTF-16: the simulator's files are UTF-8, its interfaces are UTF-16.
#pragma once

#include <string>
#include <string_view>

#include "platform/windows_api.h"
#include "text/unicode.h"

namespace Simulator {

using WideText = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

inline std::string ToUtf8(WideView text) { return Unicode::ToUtf8(text); }
inline WideText FromUtf8(std::string_view text) { return Unicode::ToUtf16<WCHAR>(text); }

}  // namespace Simulator
