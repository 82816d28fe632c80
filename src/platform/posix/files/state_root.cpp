#include "platform/state_root.h"

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"

namespace platform {

std::basic_string<WCHAR> StateRoot() {
  const KernelScope scope;
  return ToWindowsPath(StateRootPath());
}

}  // namespace platform
