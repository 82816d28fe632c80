/// System error codes (values of the public Windows headers), the thread's last-error value, and
/// the system's texts for the codes.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_INVALID_FUNCTION = 1;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_OUTOFMEMORY = 14;
constexpr DWORD ERROR_NO_MORE_FILES = 18;
constexpr DWORD ERROR_WRITE_FAULT = 29;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_HANDLE_EOF = 38;
constexpr DWORD ERROR_NOT_SUPPORTED = 50;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_BROKEN_PIPE = 109;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
constexpr DWORD ERROR_BAD_PATHNAME = 161;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
constexpr DWORD ERROR_PIPE_BUSY = 231;
constexpr DWORD ERROR_NO_DATA = 232;
constexpr DWORD ERROR_PIPE_NOT_CONNECTED = 233;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_NOT_OWNER = 288;
constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
constexpr DWORD ERROR_INVALID_ADDRESS = 487;
constexpr DWORD ERROR_ARITHMETIC_OVERFLOW = 534;
constexpr DWORD ERROR_PIPE_CONNECTED = 535;
constexpr DWORD ERROR_PIPE_LISTENING = 536;
constexpr DWORD ERROR_OPERATION_ABORTED = 995;
constexpr DWORD ERROR_NOACCESS = 998;
constexpr DWORD ERROR_STACK_OVERFLOW = 1001;
constexpr DWORD ERROR_INVALID_FLAGS = 1004;
constexpr DWORD ERROR_BADDB = 1009;
constexpr DWORD ERROR_BADKEY = 1010;
constexpr DWORD ERROR_REGISTRY_IO_FAILED = 1016;
constexpr DWORD ERROR_KEY_DELETED = 1018;
constexpr DWORD ERROR_NOT_FOUND = 1168;
constexpr DWORD ERROR_UNIDENTIFIED_ERROR = 1287;
constexpr DWORD ERROR_UNKNOWN_REVISION = 1305;
constexpr DWORD ERROR_INVALID_ACL = 1336;
constexpr DWORD ERROR_INTERNAL_ERROR = 1359;

/// The calling thread's last-error value.
DWORD GetLastError();
void SetLastError(DWORD code);

constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x0200;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
constexpr DWORD FORMAT_MESSAGE_ARGUMENT_ARRAY = 0x2000;

/// Writes the system's English text for `messageId`, ending in CR LF and NUL, to `buffer`.
/// Provided: FORMAT_MESSAGE_FROM_SYSTEM, optionally with IGNORE_INSERTS or ARGUMENT_ARRAY, no
/// source, no arguments. Returns the characters written without the NUL; 0 on failure, with last
/// error ERROR_MR_MID_NOT_FOUND (317) for a code without a text, ERROR_INSUFFICIENT_BUFFER (122)
/// for a short buffer and ERROR_INVALID_PARAMETER (87) for other flags.
DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId, LPSTR buffer,
                     DWORD bufferSize, void* arguments);
