/// Files that the program under test may hold open meanwhile.
#pragma once

#include <string>

#include "platform/windows_api.h"

/// The file as it lies on the disk, line ends included; "" without one.
inline std::string ReadSharedFile(const std::basic_string<WCHAR>& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  std::string content;
  char piece[4096];
  DWORD count = 0;
  while (ReadFile(file, piece, sizeof(piece), &count, nullptr) && count > 0) {
    content.append(piece, count);
  }
  CloseHandle(file);
  return content;
}
