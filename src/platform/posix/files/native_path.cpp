#include "platform/native_path.h"

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"

namespace platform {

std::string NativePath(const std::basic_string<WCHAR>& path) {
  const KernelScope scope;
  std::string native;
  return NativePathOf(path.c_str(), native) == 0 ? native : ToUtf8(path);
}

}  // namespace platform
