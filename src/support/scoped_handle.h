/// Owners of what the system hands out and wants to have back: kernel handles, registry keys,
/// libraries.
#pragma once

#include <utility>

#include "platform/windows_api.h"

/// Owns one `Traits::Type`, move only, and gives it back with `Traits::Close`. `Traits::IsValid`
/// says which values are something at all.
template <class Traits>
class Scoped {
 public:
  using Type = typename Traits::Type;

  Scoped() = default;
  /// Takes `object` over.
  explicit Scoped(Type object) : _object(object) {}
  Scoped(Scoped&& other) noexcept : _object(other.Release()) {}
  Scoped& operator=(Scoped&& other) noexcept {
    std::swap(_object, other._object);
    return *this;
  }
  ~Scoped() { Close(); }

  bool IsValid() const { return Traits::IsValid(_object); }
  Type Get() const { return _object; }
  /// Where a call that opens something puts it. There must be nothing yet.
  Type* Receive() { return &_object; }
  /// Gives the ownership to the caller.
  Type Release() { return std::exchange(_object, nullptr); }
  /// Gives it back now; afterwards there is none.
  void Close() {
    if (IsValid()) Traits::Close(_object);
    _object = nullptr;
  }

 private:
  Type _object = nullptr;
};

struct HandleTraits {
  using Type = HANDLE;
  static bool IsValid(HANDLE handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
  static void Close(HANDLE handle) { CloseHandle(handle); }
};

struct KeyTraits {
  using Type = HKEY;
  static bool IsValid(HKEY key) { return key != nullptr; }
  static void Close(HKEY key) { RegCloseKey(key); }
};

struct LibraryTraits {
  using Type = HMODULE;
  static bool IsValid(HMODULE module) { return module != nullptr; }
  static void Close(HMODULE module) { FreeLibrary(module); }
};

using ScopedHandle = Scoped<HandleTraits>;
using ScopedKey = Scoped<KeyTraits>;

class ScopedLibrary : public Scoped<LibraryTraits> {
 public:
  /// Loads by file name or path; look at IsValid.
  explicit ScopedLibrary(LPCWSTR fileName) : Scoped(LoadLibraryW(fileName)) {}

  /// The exported function, or null when the library was not loaded or does not export the name.
  template <class FunctionPointer>
  FunctionPointer Function(LPCSTR name) const {
    if (!IsValid()) return nullptr;
    return reinterpret_cast<FunctionPointer>(GetProcAddress(Get(), name));
  }
};
