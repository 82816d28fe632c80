/// Names and paths of registry keys.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A key or value name: as it was given, and folded for comparison.
struct RegistryName {
  explicit RegistryName(std::u16string_view name);

  std::string spelling;  ///< UTF-8
  std::string folded;    ///< UTF-8; equal for names that differ in letter case alone
};

/// The longest name of a key, in characters.
constexpr std::size_t kMaximumKeyNameChars = 255;

/// The components of a key path; repeated and trailing backslashes count for nothing.
std::vector<RegistryName> SplitKeyPath(std::u16string_view path);

}  // namespace platform
