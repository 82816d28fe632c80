/// A file behind a handle.
#pragma once

#include <string>

#include "platform/posix/kernel/io_object.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// The operations report EBADF, which a valid handle gives for access that it was not opened for,
/// as ERROR_ACCESS_DENIED.
class DiskFile : public IoObject {
 public:
  explicit DiskFile(UniqueFd file) : _file(std::move(file)) {}

  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  DWORD Write(const void* buffer, DWORD size, DWORD& done) override;
  DWORD Flush() override;
  int Descriptor() const { return _file.Get(); }

 private:
  const UniqueFd _file;
};

/// The error code for a path that could not be used. It distinguishes a missing folder on the way
/// (ERROR_PATH_NOT_FOUND) from a missing file (ERROR_FILE_NOT_FOUND); errno does not.
DWORD ErrorForPath(const std::string& nativePath, int errnoValue);

}  // namespace platform
