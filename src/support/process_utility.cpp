#include "support/process_utility.h"

#include <array>

#include "platform/find_process.h"

DWORD ProcessUtility::GetParentProcessId() {
  const DWORD self = GetCurrentProcessId();
  const auto entry = FindProcess([self](const auto& one) { return one.th32ProcessID == self; });
  return entry ? entry->th32ParentProcessID : kNoProcessId;
}

OString ProcessUtility::GetCurrentModuleDirectory() {
  std::array<WCHAR, MAX_PATH> path{};
  GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  path.back() = 0;
  const OString program(path.data());
  return program.Left(program.ReverseFind('\\'));
}
