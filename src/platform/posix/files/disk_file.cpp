#include "platform/posix/files/disk_file.h"

#include <unistd.h>

#include <cerrno>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"

namespace platform {

DWORD DiskFile::Read(void* buffer, DWORD size, DWORD& done) {
  ssize_t count = 0;
  do {
    count = read(_file.Get(), buffer, size);
  } while (count < 0 && errno == EINTR);
  if (count < 0) return errno == EBADF ? ERROR_ACCESS_DENIED : ErrorFromErrno(errno);
  done = static_cast<DWORD>(count);
  return 0;
}

DWORD DiskFile::Write(const void* buffer, DWORD size, DWORD& done) {
  const char* const bytes = static_cast<const char*>(buffer);
  while (done < size) {
    const ssize_t count = write(_file.Get(), bytes + done, size - done);
    if (count >= 0) {
      done += static_cast<DWORD>(count);
    } else if (errno != EINTR) {
      return errno == EBADF ? ERROR_ACCESS_DENIED : ErrorFromErrno(errno);
    }
  }
  return 0;
}

DWORD DiskFile::Flush() { return fsync(_file.Get()) == 0 ? 0 : ErrorFromErrno(errno); }

DWORD ErrorForPath(const std::string& nativePath, int errnoValue) {
  const std::size_t slash = nativePath.rfind('/');
  if (errnoValue != ENOENT || slash == std::string::npos || slash == 0) {
    return ErrorFromErrno(errnoValue);
  }
  const std::string folder = nativePath.substr(0, slash);
  return access(folder.c_str(), F_OK) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace platform
