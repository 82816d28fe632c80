/// Names that no other test, process or earlier run uses.
#pragma once

#include <atomic>
#include <random>
#include <string>

#include "platform/windows_api.h"

/// `prefix` followed by letters and digits of its own.
inline std::basic_string<WCHAR> UniqueName(std::basic_string<WCHAR> prefix) {
  static std::random_device random;
  static std::atomic<unsigned> counter{0};
  const auto digits = std::to_string(GetCurrentProcessId()) + "x" + std::to_string(random()) + "x" +
                      std::to_string(++counter);
  return prefix.append(digits.begin(), digits.end());
}
