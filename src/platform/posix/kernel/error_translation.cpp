#include "platform/posix/kernel/error_translation.h"

#include <cerrno>

#include "platform/posix/api/errors.h"

namespace platform {
namespace {

struct Translation {
  int errnoValue;
  DWORD error;
};

constexpr Translation kTranslations[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {ELOOP, ERROR_PATH_NOT_FOUND},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EAGAIN, ERROR_NOT_ENOUGH_MEMORY},
    {EBADF, ERROR_INVALID_HANDLE},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENOTSUP, ERROR_NOT_SUPPORTED},
    {ESRCH, ERROR_INVALID_PARAMETER},
    {EFAULT, ERROR_NOACCESS},
    {ENOEXEC, ERROR_BAD_EXE_FORMAT},
    {EPIPE, ERROR_NO_DATA},
    {ECONNRESET, ERROR_BROKEN_PIPE},
    {EIO, ERROR_WRITE_FAULT},
};

}  // namespace

DWORD ErrorFromErrno(int errnoValue) {
  for (const Translation& translation : kTranslations) {
    if (translation.errnoValue == errnoValue) return translation.error;
  }
  return ERROR_GEN_FAILURE;
}

BOOL FailWithErrno() { return Fail(ErrorFromErrno(errno)); }

BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

}  // namespace platform
