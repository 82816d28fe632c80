/// Files, folders and paths. C:\ is drive_c/ under the state root; Z:\ is /. Both separators are
/// accepted; letter case is the file system's.
#pragma once

#include <cstdio>

#include "platform/posix/api/base.h"

constexpr DWORD GENERIC_READ = 0x80000000U;
constexpr DWORD GENERIC_WRITE = 0x40000000U;
constexpr DWORD FILE_SHARE_READ = 1;
constexpr DWORD FILE_SHARE_WRITE = 2;
constexpr DWORD FILE_SHARE_DELETE = 4;
constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x2;
constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x4;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x100;
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFU;
constexpr DWORD MOVEFILE_REPLACE_EXISTING = 0x1;
constexpr DWORD FILE_BEGIN = 0;
constexpr DWORD FILE_CURRENT = 1;
constexpr DWORD FILE_END = 2;

/// Opens or creates a file, or connects to a named pipe (\\.\pipe\...): a pipe with no server fails
/// with ERROR_FILE_NOT_FOUND, a busy one with ERROR_PIPE_BUSY at once. Creating over an existing
/// file succeeds with the last error ERROR_ALREADY_EXISTS (CREATE_ALWAYS, OPEN_ALWAYS) or fails
/// with ERROR_FILE_EXISTS (CREATE_NEW). A missing file is ERROR_FILE_NOT_FOUND, a missing folder on
/// the way ERROR_PATH_NOT_FOUND, a folder in the file's place ERROR_ACCESS_DENIED.
///
/// Provided: GENERIC_READ and GENERIC_WRITE, at least one of them; all share modes, none of which
/// is enforced; default security (null); no template; file attributes as flags, without effect.
/// Anything else is ERROR_INVALID_PARAMETER.
HANDLE CreateFileW(LPCWSTR path, DWORD desiredAccess, DWORD shareMode,
                   LPSECURITY_ATTRIBUTES attributes, DWORD creationDisposition, DWORD flags,
                   HANDLE templateFile);

/// Reads up to `size` bytes from a file (0 at its end) or pipe; from a pipe it blocks until at
/// least one byte is there. Fails with ERROR_BROKEN_PIPE when the other end closed and nothing is
/// left to read.
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD bytesRead, LPOVERLAPPED overlapped);

/// Writes all bytes, blocking while a pipe's buffer is full. ERROR_NO_DATA when the reader closed.
/// A call that fails counts no bytes, also when a pipe has taken some.
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD bytesWritten,
               LPOVERLAPPED overlapped);

/// A file: to the disk. A pipe: waits, without limit, until the other end has read everything.
BOOL FlushFileBuffers(HANDLE file);

/// A position before the start is ERROR_NEGATIVE_SEEK. `newPosition` may be null.
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* newPosition,
                      DWORD moveMethod);
BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);
BOOL DeleteFileW(LPCWSTR path);

/// Renames a file or folder on the same volume. An existing target is ERROR_ALREADY_EXISTS unless
/// MOVEFILE_REPLACE_EXISTING, the only flag, says to replace it; it is replaced in one step.
BOOL MoveFileExW(LPCWSTR existing, LPCWSTR replacement, DWORD flags);

/// Default security (null) only. ERROR_ALREADY_EXISTS, or ERROR_PATH_NOT_FOUND without the parent.
BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes);
BOOL RemoveDirectoryW(LPCWSTR path);

/// FILE_ATTRIBUTE_DIRECTORY for a folder, FILE_ATTRIBUTE_ARCHIVE for anything else, and
/// FILE_ATTRIBUTE_READONLY when nobody may write it. No file is hidden: a leading dot means nothing
/// to Windows. INVALID_FILE_ATTRIBUTES on failure.
DWORD GetFileAttributesW(LPCWSTR path);

/// The length of the path without its NUL; the size it needs with its NUL when the buffer is short.
UINT GetSystemDirectoryW(LPWSTR buffer, UINT sizeChars);

constexpr int _SH_DENYNO = 0x40;

/// fopen of the C runtime, to append text with shared access: `path` in the ANSI code page, `mode`
/// "a" and `shareFlag` _SH_DENYNO only. LF is written as CR LF; the stream cannot be positioned.
/// What is printed to it between two flushes, up to 64 KiB, reaches the file in one write or, on a
/// full disk, not at all. Null on failure, errno says why (EINVAL: another mode; ENOTSUP: a FIFO
/// or the like).
std::FILE* _fsopen(const char* path, const char* mode, int shareFlag);

constexpr int CSIDL_COMMON_APPDATA = 0x0023;
constexpr int CSIDL_FLAG_CREATE = 0x8000;

/// Writes the folder's path to `path` (MAX_PATH characters). CSIDL_COMMON_APPDATA, optionally with
/// CSIDL_FLAG_CREATE; no token, flags 0. S_OK, or a failure: E_INVALIDARG for other arguments,
/// ERROR_PATH_NOT_FOUND as an HRESULT for a folder that is not there.
HRESULT SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR path);
