#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "platform/posix/api/com.h"
#include "platform/posix/api/files.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"

using platform::KernelScope;

namespace {

constexpr std::u16string_view kSystemFolder = u"C:\\Windows\\system32";
constexpr std::u16string_view kCommonAppDataFolder = u"C:\\ProgramData";
constexpr HRESULT kFolderNotFound = static_cast<HRESULT>(0x80070003U);

void CopyWithNul(std::u16string_view text, LPWSTR buffer) {
  buffer[text.copy(buffer, text.size())] = 0;
}

bool EnsureFolder(const char16_t* windowsPath, bool create) {
  std::string path;
  if (platform::NativePathOf(windowsPath, path) != 0) return false;
  if (create) mkdir(path.c_str(), platform::kPrivateFolder);
  return access(path.c_str(), F_OK) == 0;
}

}  // namespace

UINT GetSystemDirectoryW(LPWSTR buffer, UINT sizeChars) {
  if (sizeChars <= kSystemFolder.size()) return static_cast<UINT>(kSystemFolder.size() + 1);
  CopyWithNul(kSystemFolder, buffer);
  return static_cast<UINT>(kSystemFolder.size());
}

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
  const KernelScope scope;
  if (path == nullptr) return E_INVALIDARG;
  path[0] = 0;
  if ((folder & ~CSIDL_FLAG_CREATE) != CSIDL_COMMON_APPDATA || token != nullptr || flags != 0) {
    return E_INVALIDARG;
  }
  if (!EnsureFolder(kCommonAppDataFolder.data(), (folder & CSIDL_FLAG_CREATE) != 0)) {
    return kFolderNotFound;
  }
  CopyWithNul(kCommonAppDataFolder, path);
  return S_OK;
}
