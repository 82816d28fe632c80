#include "platform/parent_process.h"

#include "platform/find_process.h"

namespace platform {
namespace {

HANDLE OpenParent() {
  const DWORD self = GetCurrentProcessId();
  const auto entry = FindProcess([self](const auto& one) { return one.th32ProcessID == self; });
  return entry ? OpenProcess(SYNCHRONIZE, FALSE, entry->th32ParentProcessID) : nullptr;
}

}  // namespace

void HoldParent() {
  // An id goes to no other process, and can be opened, while somebody has a handle to its process.
  [[maybe_unused]] static const HANDLE parent = OpenParent();
}

}  // namespace platform
