#include "simulator/tag/text.h"

namespace Simulator {

std::string ToUtf8(WideView text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  // One UTF-16 unit takes at most three bytes.
  std::string utf8(text.size() * 3, '\0');
  const int written = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(),
                                          static_cast<int>(utf8.size()), nullptr, nullptr);
  utf8.resize(static_cast<std::size_t>(written));
  return utf8;
}

WideText FromUtf8(std::string_view text) {
  if (text.empty()) return {};
  // No byte gives more than one UTF-16 unit.
  WideText wide(text.size(), 0);
  const int written = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                          wide.data(), static_cast<int>(wide.size()));
  wide.resize(static_cast<std::size_t>(written));
  return wide;
}

}  // namespace Simulator
