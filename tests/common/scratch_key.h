/// A registry key of a test's own below HKEY_CURRENT_USER\Software, gone with everything that was
/// made through it.
#pragma once

#include <string>
#include <vector>

#include "common/unique_name.h"
#include "platform/windows_api.h"

class ScratchKey {
 public:
  ScratchKey() { RegCloseKey(Create(TEXT(""))); }
  ~ScratchKey() {
    for (auto path = _paths.rbegin(); path != _paths.rend(); ++path) {
      RegDeleteKeyW(HKEY_CURRENT_USER, path->c_str());
    }
  }
  ScratchKey(const ScratchKey&) = delete;
  ScratchKey& operator=(const ScratchKey&) = delete;

  /// Where `subKey` of it lies under HKEY_CURRENT_USER.
  std::basic_string<WCHAR> Path(const std::basic_string<WCHAR>& subKey = {}) const {
    return subKey.empty() ? _name : _name + TEXT("\\") + subKey;
  }

  /// Makes or opens a subkey, one level at a time; the caller closes it. Null on failure.
  HKEY Create(const std::basic_string<WCHAR>& subKey, REGSAM access = KEY_ALL_ACCESS,
              DWORD* disposition = nullptr) {
    _paths.push_back(Path(subKey));
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, _paths.back().c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                    access, nullptr, &key, disposition);
    return key;
  }

  /// Opens a subkey; `key` is null on failure.
  LSTATUS Open(const std::basic_string<WCHAR>& subKey, REGSAM access, HKEY& key) const {
    key = nullptr;
    return RegOpenKeyExW(HKEY_CURRENT_USER, Path(subKey).c_str(), 0, access, &key);
  }

 private:
  const std::basic_string<WCHAR> _name = UniqueName(TEXT("Software\\TagwrightTest-"));
  std::vector<std::basic_string<WCHAR>> _paths;
};
