#include "support/process_utility.h"

#include "platform/find_process.h"

DWORD ProcessUtility::GetParentProcessId() {
  const DWORD self = GetCurrentProcessId();
  const auto entry = FindProcess([self](const auto& one) { return one.th32ProcessID == self; });
  return entry ? entry->th32ParentProcessID : kNoProcessId;
}

OString ProcessUtility::GetCurrentModuleDirectory() {
  WCHAR path[MAX_PATH + 1] = {};  // A path that is cut has no NUL.
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const OString program(path);
  return program.Left(program.ReverseFind('\\'));
}
