/// A registry key that closes itself.
#pragma once

#include "platform/windows_api.h"

class ScopedKey {
 public:
  ScopedKey() = default;
  /// Takes the key over; null means "none".
  explicit ScopedKey(HKEY key) : _key(key) {}
  ~ScopedKey() {
    if (_key != nullptr) RegCloseKey(_key);
  }
  ScopedKey(const ScopedKey&) = delete;
  ScopedKey& operator=(const ScopedKey&) = delete;

  bool IsValid() const { return _key != nullptr; }
  HKEY Get() const { return _key; }
  /// Where a call that opens a key puts it. There must be none yet.
  HKEY* Receive() { return &_key; }

 private:
  HKEY _key = nullptr;
};
