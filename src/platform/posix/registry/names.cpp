#include "platform/posix/registry/names.h"

#include <algorithm>

#include "platform/posix/kernel/text.h"

namespace platform {

RegistryName::RegistryName(std::u16string_view name)
    : spelling(ToUtf8(name)), folded(ToUtf8(ToUpper(name))) {}

std::vector<RegistryName> SplitKeyPath(std::u16string_view path) {
  std::vector<RegistryName> components;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    if (end > 0) components.emplace_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return components;
}

}  // namespace platform
