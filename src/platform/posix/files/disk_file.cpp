#include "platform/posix/files/disk_file.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"

namespace platform {
namespace {

/// A file that is open for the other direction is a bad descriptor to the system.
DWORD ErrorOfTransfer() { return errno == EBADF ? ERROR_ACCESS_DENIED : ErrorFromErrno(errno); }

}  // namespace

DWORD DiskFile::Read(void* buffer, DWORD size, DWORD& done) {
  const ssize_t count = TEMP_FAILURE_RETRY(read(_file.Get(), buffer, size));
  if (count < 0) return ErrorOfTransfer();
  done = static_cast<DWORD>(count);
  return 0;
}

DWORD DiskFile::Write(const void* buffer, DWORD size, DWORD& done) {
  const char* const bytes = static_cast<const char*>(buffer);
  while (done < size) {
    const ssize_t count = TEMP_FAILURE_RETRY(write(_file.Get(), bytes + done, size - done));
    if (count < 0) return ErrorOfTransfer();
    done += static_cast<DWORD>(count);
  }
  return 0;
}

DWORD DiskFile::Flush() { return fsync(_file.Get()) == 0 ? 0 : ErrorFromErrno(errno); }

DWORD ErrorForPath(const std::string& nativePath, int errnoValue) {
  if (errnoValue != ENOENT) return ErrorFromErrno(errnoValue);
  const auto folder = std::filesystem::path(nativePath).parent_path();
  const bool isFolderThere = folder.empty() || access(folder.c_str(), F_OK) == 0;
  return isFolderThere ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace platform
