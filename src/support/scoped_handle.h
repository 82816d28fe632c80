/// A kernel handle that closes itself.
#pragma once

#include <utility>

#include "platform/windows_api.h"

class ScopedHandle {
 public:
  ScopedHandle() = default;
  /// Takes the handle over; null and INVALID_HANDLE_VALUE both mean "none".
  explicit ScopedHandle(HANDLE handle) : _handle(handle) {}
  ScopedHandle(ScopedHandle&& other) noexcept : _handle(std::exchange(other._handle, nullptr)) {}
  ScopedHandle& operator=(ScopedHandle&& other) noexcept {
    std::swap(_handle, other._handle);
    return *this;
  }
  ~ScopedHandle() { Close(); }

  bool IsValid() const { return _handle != nullptr && _handle != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return _handle; }

  /// Closes now; afterwards there is none.
  void Close() {
    if (IsValid()) CloseHandle(_handle);
    _handle = nullptr;
  }

 private:
  HANDLE _handle = nullptr;
};
