/// Wide text from ASCII.
#pragma once

#include <string>

#include "platform/windows_api.h"

inline std::basic_string<WCHAR> Widen(const std::string& ascii) {
  return {ascii.begin(), ascii.end()};
}
