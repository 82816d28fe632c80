#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/api/files.h"
#include "platform/posix/files/disk_file.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"

using platform::Fail;
using platform::KernelScope;
using platform::ToNativePath;

namespace platform {

DWORD ErrorForPath(const std::string& nativePath, int errnoValue) {
  const std::size_t slash = nativePath.rfind('/');
  if (errnoValue != ENOENT || slash == std::string::npos || slash == 0) {
    return ErrorFromErrno(errnoValue);
  }
  const std::string folder = nativePath.substr(0, slash);
  return access(folder.c_str(), F_OK) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace platform

namespace {

// A call on one path: translated, done, and its failure reported.
template <class Operation>
BOOL OnPath(LPCWSTR path, Operation operation) {
  std::string nativePath;
  if (!ToNativePath(path, nativePath)) return FALSE;
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
  constexpr mode_t kNewFolderMode = 0700;  // Default security: the owner alone.
  return OnPath(path, [](const char* nativePath) { return mkdir(nativePath, kNewFolderMode); });
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
  if (!ToNativePath(replacement, target)) return FALSE;
  const unsigned how = flags == 0 ? RENAME_NOREPLACE : 0;
  return OnPath(existing, [&](const char* source) {
    return renameat2(AT_FDCWD, source, AT_FDCWD, target.c_str(), how);
  });
}
