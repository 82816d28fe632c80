#include <algorithm>
#include <memory>
#include <span>
#include <vector>

#include "platform/posix/api/handles.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/wait_engine.h"

using platform::Fail;
using platform::KernelScope;
using platform::Waitable;

namespace {

using Objects = std::vector<std::shared_ptr<Waitable>>;

DWORD FailWait(DWORD error) {
  SetLastError(error);
  return WAIT_FAILED;
}

bool HasDuplicates(Objects objects) {
  std::sort(objects.begin(), objects.end());
  return std::adjacent_find(objects.begin(), objects.end()) != objects.end();
}

}  // namespace

BOOL CloseHandle(HANDLE handle) {
  KernelScope scope;
  return platform::RemoveHandle(handle) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs) {
  KernelScope scope;
  const auto object = platform::Lookup<Waitable>(handle);
  if (!object) return WAIT_FAILED;
  return platform::WaitForObjects(std::span(&object, 1), false, timeoutMs);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD timeoutMs) {
  KernelScope scope;
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS) return FailWait(ERROR_INVALID_PARAMETER);
  Objects objects;
  for (DWORD index = 0; index < count; ++index) {
    objects.push_back(platform::Lookup<Waitable>(handles[index]));
    if (!objects.back()) return WAIT_FAILED;
  }
  if (waitAll && HasDuplicates(objects)) return FailWait(ERROR_INVALID_PARAMETER);
  return platform::WaitForObjects(objects, waitAll != FALSE, timeoutMs);
}
