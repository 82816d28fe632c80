#include "platform/posix/api/files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/posix/files/disk_file.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/pipes/address.h"
#include "platform/posix/pipes/client_pipe.h"
#include "platform/posix/pipes/name.h"

using platform::ClientPipe;
using platform::DiskFile;
using platform::ErrorForPath;
using platform::ErrorFromErrno;
using platform::Fail;
using platform::InsertHandle;
using platform::KernelScope;
using platform::Lookup;
using platform::UniqueFd;

namespace {

constexpr DWORD kKnownAccess = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD kKnownSharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kKnownFlags = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                              FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                              FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_TEMPORARY;

int AccessMode(DWORD access) {
  if (access == kKnownAccess) return O_RDWR;
  return access == GENERIC_WRITE ? O_WRONLY : O_RDONLY;
}

// Creates the file, or opens it when it is already there; tells which.
int CreateOrOpen(const std::string& path, int mode, int modeWhenThere, bool& wasThere) {
  const int created = open(path.c_str(), mode | O_CREAT | O_EXCL, platform::kPrivateFile);
  wasThere = created < 0 && errno == EEXIST;
  return wasThere ? open(path.c_str(), mode | modeWhenThere | O_CREAT, platform::kPrivateFile)
                  : created;
}

int OpenBy(DWORD disposition, const std::string& path, int mode, bool& wasThere) {
  switch (disposition) {
    case OPEN_EXISTING:
      return open(path.c_str(), mode);
    case CREATE_NEW:
      return open(path.c_str(), mode | O_CREAT | O_EXCL, platform::kPrivateFile);
    case CREATE_ALWAYS:
      return CreateOrOpen(path, mode, O_TRUNC, wasThere);
    case OPEN_ALWAYS:
      return CreateOrOpen(path, mode, 0, wasThere);
    default:
      errno = EINVAL;
      return -1;
  }
}

DWORD OpenError(DWORD disposition, const std::string& path, int error) {
  if (error == EEXIST && disposition == CREATE_NEW) return ERROR_FILE_EXISTS;
  return ErrorForPath(path, error);
}

bool IsFolder(int file) {
  struct stat state {};
  return fstat(file, &state) == 0 && S_ISDIR(state.st_mode);
}

// On success `note` is ERROR_ALREADY_EXISTS when a file was there where one was to be created.
DWORD OpenDiskFile(LPCWSTR path, DWORD access, DWORD disposition, HANDLE& handle, DWORD& note) {
  std::string nativePath;
  if (const DWORD error = platform::NativePathOf(path, nativePath)) return error;
  bool wasThere = false;
  // O_NONBLOCK: a FIFO in the file's place must not hold the thread up.
  const int mode = AccessMode(access) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  UniqueFd file(OpenBy(disposition, nativePath, mode, wasThere));
  if (!file) return OpenError(disposition, nativePath, errno);
  if (IsFolder(file.Get())) return ERROR_ACCESS_DENIED;
  note = wasThere ? ERROR_ALREADY_EXISTS : 0;
  handle = InsertHandle(std::make_shared<DiskFile>(std::move(file)));
  return 0;
}

DWORD OpenPipe(LPCWSTR path, DWORD access, DWORD disposition, HANDLE& handle) {
  if (disposition != OPEN_EXISTING && disposition != OPEN_ALWAYS) return ERROR_ACCESS_DENIED;
  std::string fileName;
  if (const DWORD error = platform::PipeFileName(path, fileName)) return error;
  UniqueFd socket;
  if (const DWORD error = platform::ConnectToPipe(fileName, socket)) return error;
  handle = InsertHandle(std::make_shared<ClientPipe>(
      std::move(socket), (access & GENERIC_READ) != 0, (access & GENERIC_WRITE) != 0));
  return 0;
}

bool AreProvided(DWORD access, DWORD sharing, const void* attributes, DWORD flags,
                 HANDLE templateFile) {
  return access != 0 && (access & ~kKnownAccess) == 0 && (sharing & ~kKnownSharing) == 0 &&
         attributes == nullptr && (flags & ~kKnownFlags) == 0 && templateFile == nullptr;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR path, DWORD desiredAccess, DWORD shareMode,
                   LPSECURITY_ATTRIBUTES attributes, DWORD creationDisposition, DWORD flags,
                   HANDLE templateFile) {
  const KernelScope scope;
  HANDLE handle = INVALID_HANDLE_VALUE;
  DWORD error = ERROR_INVALID_PARAMETER;
  DWORD note = 0;
  if (path == nullptr) {
    error = ERROR_PATH_NOT_FOUND;
  } else if (AreProvided(desiredAccess, shareMode, attributes, flags, templateFile)) {
    error = platform::IsPipePath(path)
                ? OpenPipe(path, desiredAccess, creationDisposition, handle)
                : OpenDiskFile(path, desiredAccess, creationDisposition, handle, note);
  }
  SetLastError(error != 0 ? error : note);
  return handle;
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* newPosition,
                      DWORD moveMethod) {
  const KernelScope scope;
  constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (moveMethod > FILE_END) return Fail(ERROR_INVALID_PARAMETER);
  const auto disk = Lookup<DiskFile>(file);
  if (!disk) return FALSE;
  const off_t position = lseek(disk->Descriptor(), distance.QuadPart, kOrigins[moveMethod]);
  // The one thing that is wrong about a position is that it lies before the start.
  if (position < 0) return Fail(errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorFromErrno(errno));
  if (newPosition != nullptr) newPosition->QuadPart = position;
  return TRUE;
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) {
  const KernelScope scope;
  const auto disk = Lookup<DiskFile>(file);
  if (!disk) return FALSE;
  struct stat state {};
  if (fstat(disk->Descriptor(), &state) != 0) return platform::FailWithErrno();
  size->QuadPart = state.st_size;
  return TRUE;
}
