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
/// with ERROR_FILE_NOT_FOUND, a busy one with ERROR_PIPE_BUSY at once.
HANDLE CreateFileW(LPCWSTR path, DWORD desiredAccess, DWORD shareMode,
                   LPSECURITY_ATTRIBUTES attributes, DWORD creationDisposition, DWORD flags,
                   HANDLE templateFile);

/// Reads up to `size` bytes from a file or pipe; from a pipe it blocks until at least one byte is
/// there. Fails with ERROR_BROKEN_PIPE when the other end closed and nothing is left to read.
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD bytesRead, LPOVERLAPPED overlapped);

/// Writes all bytes, blocking while a pipe's buffer is full. ERROR_NO_DATA when the reader closed.
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD bytesWritten,
               LPOVERLAPPED overlapped);

/// A file: to the disk. A pipe: waits, without limit, until the other end has read everything.
BOOL FlushFileBuffers(HANDLE file);

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* newPosition,
                      DWORD moveMethod);
BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);
BOOL DeleteFileW(LPCWSTR path);
BOOL MoveFileExW(LPCWSTR existing, LPCWSTR replacement, DWORD flags);
BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes);
BOOL RemoveDirectoryW(LPCWSTR path);
DWORD GetFileAttributesW(LPCWSTR path);

UINT GetSystemDirectoryW(LPWSTR buffer, UINT sizeChars);

/// The path of the program (`module` null), or of a library loaded through libraries.h.
DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD sizeChars);

constexpr int _SH_DENYNO = 0x40;

/// fopen of the C runtime with shared access: `path` in the ANSI code page; text modes ("r", "w",
/// "a") translate line ends to CR LF, binary modes do not.
std::FILE* _fsopen(const char* path, const char* mode, int shareFlag);

constexpr int CSIDL_COMMON_APPDATA = 0x0023;
constexpr int CSIDL_FLAG_CREATE = 0x8000;
