#include "platform/native_path.h"

namespace platform {

std::string NativePath(const std::basic_string<WCHAR>& path) {
  const int length = static_cast<int>(path.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, path.data(), length, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, path.data(), length, text.data(), size, nullptr, nullptr);
  return text;
}

}  // namespace platform
