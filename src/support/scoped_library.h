/// A library loaded for the length of a scope.
#pragma once

#include "platform/windows_api.h"

class ScopedLibrary {
 public:
  /// Loads by file name or path; look at IsLoaded.
  explicit ScopedLibrary(LPCWSTR fileName) : _module(LoadLibraryW(fileName)) {}
  ~ScopedLibrary() {
    if (_module != nullptr) FreeLibrary(_module);
  }
  ScopedLibrary(const ScopedLibrary&) = delete;
  ScopedLibrary& operator=(const ScopedLibrary&) = delete;

  bool IsLoaded() const { return _module != nullptr; }

  /// The exported function, or null when the library was not loaded or does not export the name.
  template <class FunctionPointer>
  FunctionPointer Function(LPCSTR name) const {
    if (_module == nullptr) return nullptr;
    return reinterpret_cast<FunctionPointer>(GetProcAddress(_module, name));
  }

 private:
  HMODULE _module;
};
