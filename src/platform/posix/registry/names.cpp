#include "platform/posix/registry/names.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>

#include "platform/posix/kernel/text.h"

namespace platform {

namespace {

/// Upper case, as the system folds: each UTF-16 unit by itself, whatever the process's locale is.
std::u16string Fold(std::u16string_view name) {
  static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  std::u16string folded(name);
  if (unicode == nullptr) return folded;
  for (char16_t& unit : folded) {
    const wint_t upper = towupper_l(unit, unicode);
    if (upper <= 0xFFFF) unit = static_cast<char16_t>(upper);
  }
  return folded;
}

}  // namespace

RegistryName::RegistryName(std::u16string_view name)
    : spelling(ToUtf8(name)), folded(ToUtf8(Fold(name))) {}

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
