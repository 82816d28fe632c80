/// A registry key of a test's own below HKEY_CURRENT_USER\Software, gone with everything that was
/// made through it.
#pragma once

#include <string>
#include <vector>

#include "common/unique_name.h"
#include "platform/windows_api.h"

class ScratchKey {
 public:
  using Text = std::basic_string<WCHAR>;

  ScratchKey() { Create(TEXT("")); }
  ~ScratchKey() {
    for (HKEY key : _open) RegCloseKey(key);
    for (; !_paths.empty(); _paths.pop_back()) {
      RegDeleteKeyW(HKEY_CURRENT_USER, _paths.back().c_str());
    }
  }
  ScratchKey(const ScratchKey&) = delete;
  ScratchKey& operator=(const ScratchKey&) = delete;

  /// Where a subkey lies under HKEY_CURRENT_USER.
  Text Path(const Text& subKey) const {
    return subKey.empty() ? _name : _name + TEXT("\\") + subKey;
  }

  /// Makes or opens a subkey, one level at a time. It is closed at the end.
  HKEY Create(const Text& subKey, DWORD* disposition = nullptr, REGSAM access = KEY_ALL_ACCESS) {
    _paths.push_back(Path(subKey));
    RegCreateKeyExW(HKEY_CURRENT_USER, _paths.back().c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                    access, nullptr, &_open.emplace_back(), disposition);
    return _open.back();
  }

 private:
  const Text _name = UniqueName(TEXT("Software\\TagwrightTest-"));
  std::vector<Text> _paths;
  std::vector<HKEY> _open;
};
