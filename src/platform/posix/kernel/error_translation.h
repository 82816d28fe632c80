/// The one place where the system's errno becomes a Windows error code.
#pragma once

#include "platform/posix/api/base.h"

namespace platform {

/// ENOENT is ERROR_FILE_NOT_FOUND, EACCES and EPERM ERROR_ACCESS_DENIED, EEXIST
/// ERROR_ALREADY_EXISTS, ENOTDIR ERROR_PATH_NOT_FOUND, EMFILE ERROR_TOO_MANY_OPEN_FILES, ENOSPC
/// ERROR_DISK_FULL, ...; anything else is ERROR_GEN_FAILURE.
DWORD ErrorFromErrno(int errnoValue);

/// Sets the last error from errno and returns FALSE.
BOOL FailWithErrno();
/// Sets the last error and returns FALSE.
BOOL Fail(DWORD error);

}  // namespace platform
