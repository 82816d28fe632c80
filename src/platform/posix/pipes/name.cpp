#include "platform/posix/pipes/name.h"

#include <string_view>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/file_name.h"
#include "platform/posix/kernel/text.h"

namespace platform {
namespace {

constexpr std::u16string_view kPrefix = u"\\\\.\\pipe\\";
constexpr std::size_t kMaxPathChars = 256;

}  // namespace

bool IsPipePath(LPCWSTR path) {
  return ToLower(std::u16string_view(path).substr(0, kPrefix.size())) == kPrefix;
}

DWORD PipeFileName(LPCWSTR path, std::string& fileName) {
  if (path == nullptr || !IsPipePath(path)) return ERROR_INVALID_NAME;
  const std::u16string_view whole(path);
  const std::u16string_view name = whole.substr(kPrefix.size());
  if (name.empty() || whole.size() > kMaxPathChars || name.find(u'\\') != name.npos) {
    return ERROR_INVALID_NAME;
  }
  fileName = FileNameFor(ToUtf8(ToLower(name)));
  return 0;
}

}  // namespace platform
