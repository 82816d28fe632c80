#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/api/files.h"
#include "platform/posix/files/disk_file.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"

using platform::Fail;
using platform::KernelScope;
using platform::NativePathOf;

namespace {

/// Runs `operation` on the native form of the path, and sets the last error when it fails.
template <class Operation>
BOOL OnPath(LPCWSTR path, Operation operation) {
  std::string nativePath;
  if (const DWORD error = NativePathOf(path, nativePath)) return Fail(error);
  if (operation(nativePath.c_str()) == 0) return TRUE;
  return Fail(platform::ErrorForPath(nativePath, errno));
}

DWORD AttributesOf(const struct stat& state) {
  constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
  DWORD attributes = S_ISDIR(state.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  if ((state.st_mode & kAnyWrite) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  return attributes;
}

}  // namespace

BOOL DeleteFileW(LPCWSTR path) {
  const KernelScope scope;
  return OnPath(path, unlink);
}

BOOL RemoveDirectoryW(LPCWSTR path) {
  const KernelScope scope;
  return OnPath(path, rmdir);
}

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes) {
  const KernelScope scope;
  if (attributes != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  return OnPath(path,
                [](const char* nativePath) { return mkdir(nativePath, platform::kPrivateFolder); });
}

DWORD GetFileAttributesW(LPCWSTR path) {
  const KernelScope scope;
  struct stat state {};
  const BOOL isThere =
      OnPath(path, [&](const char* nativePath) { return stat(nativePath, &state); });
  return isThere ? AttributesOf(state) : INVALID_FILE_ATTRIBUTES;
}

BOOL MoveFileExW(LPCWSTR existing, LPCWSTR replacement, DWORD flags) {
  const KernelScope scope;
  if ((flags & ~MOVEFILE_REPLACE_EXISTING) != 0) return Fail(ERROR_INVALID_PARAMETER);
  std::string target;
  if (const DWORD error = NativePathOf(replacement, target)) return Fail(error);
  const unsigned how = flags == 0 ? RENAME_NOREPLACE : 0;
  return OnPath(existing, [&](const char* source) {
    return renameat2(AT_FDCWD, source, AT_FDCWD, target.c_str(), how);
  });
}
