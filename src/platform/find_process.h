/// A look at the system's list of processes.
#pragma once

#include <optional>

#include "platform/windows_api.h"

/// The entry of the first process for which `matches` holds; nothing when there is none or the
/// system gives no list.
template <class Matches>
std::optional<PROCESSENTRY32W> FindProcess(Matches&& matches) {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snapshot == INVALID_HANDLE_VALUE) return std::nullopt;
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  BOOL found = Process32FirstW(snapshot, &entry);
  while (found != FALSE && !matches(entry)) found = Process32NextW(snapshot, &entry);
  CloseHandle(snapshot);
  return found != FALSE ? std::optional(entry) : std::nullopt;
}
