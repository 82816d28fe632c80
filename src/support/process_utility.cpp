#include "support/process_utility.h"

#include <array>

#include "support/scoped_handle.h"

DWORD ProcessUtility::GetParentProcessId() {
  const ScopedHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!snapshot.IsValid()) return kNoProcessId;
  const DWORD self = GetCurrentProcessId();
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL found = Process32FirstW(snapshot.Get(), &entry); found != FALSE;
       found = Process32NextW(snapshot.Get(), &entry)) {
    if (entry.th32ProcessID == self) return entry.th32ParentProcessID;
  }
  return kNoProcessId;
}

OString ProcessUtility::GetCurrentModuleDirectory() {
  std::array<WCHAR, MAX_PATH> path{};
  GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  path.back() = 0;
  const OString program(path.data());
  return program.Left(program.ReverseFind('\\'));
}
