/// Whether the tests run on Wine: for the few places where it is not what Windows documents.
#pragma once

#include "platform/windows_api.h"

inline bool OnWine() {
  const HMODULE library = LoadLibraryW(TEXT("ntdll.dll"));
  const bool isWine = library != nullptr && GetProcAddress(library, "wine_get_version") != nullptr;
  if (library != nullptr) FreeLibrary(library);
  return isWine;
}
