#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "platform/posix/api/com.h"
#include "platform/posix/api/errors.h"
#include "platform/posix/api/files.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/system/libraries_table.h"

using platform::KernelScope;

namespace {

constexpr std::u16string_view kSystemFolder = u"C:\\Windows\\system32";
constexpr std::u16string_view kCommonAppDataFolder = u"C:\\ProgramData";
constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057U);
constexpr HRESULT kFolderNotFound = static_cast<HRESULT>(0x80070003U);

void CopyWithNul(std::u16string_view text, LPWSTR buffer) {
  buffer[text.copy(buffer, text.size())] = 0;
}

bool ModulePath(HMODULE module, std::u16string& path) {
  if (module != nullptr) return platform::LibraryPath(module, path);
  path = platform::ToWindowsPath(platform::ProgramPath());
  return true;
}

bool EnsureFolder(const char16_t* windowsPath, bool create) {
  std::string path;
  if (!platform::ToNativePath(windowsPath, path)) return false;
  constexpr mode_t kFolderMode = 0777;
  if (create) mkdir(path.c_str(), kFolderMode);
  return access(path.c_str(), F_OK) == 0;
}

}  // namespace

UINT GetSystemDirectoryW(LPWSTR buffer, UINT sizeChars) {
  if (sizeChars <= kSystemFolder.size()) return static_cast<UINT>(kSystemFolder.size() + 1);
  CopyWithNul(kSystemFolder, buffer);
  return static_cast<UINT>(kSystemFolder.size());
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD sizeChars) {
  const KernelScope scope;
  std::u16string path;
  if (!ModulePath(module, path)) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return 0;
  }
  if (path.size() < sizeChars) {
    CopyWithNul(path, buffer);
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(path.size());
  }
  if (sizeChars > 0) CopyWithNul(std::u16string_view(path).substr(0, sizeChars - 1), buffer);
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return sizeChars;
}

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
  const KernelScope scope;
  if (path == nullptr) return kInvalidArgument;
  path[0] = 0;
  if ((folder & ~CSIDL_FLAG_CREATE) != CSIDL_COMMON_APPDATA || token != nullptr || flags != 0) {
    return kInvalidArgument;
  }
  if (!EnsureFolder(kCommonAppDataFolder.data(), (folder & CSIDL_FLAG_CREATE) != 0)) {
    return kFolderNotFound;
  }
  CopyWithNul(kCommonAppDataFolder, path);
  return S_OK;
}
