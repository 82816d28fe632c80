/// The program and the libraries that it loads at run time. A bare name is looked for among the
/// system libraries that the layer stands for ("dbghelp.dll", "Kernel32.dll", "Shell32.dll", in any
/// letter case), then beside the program, and nowhere else: whoever can write to the current folder
/// does not choose what is loaded. A path is used as it is. A name without an extension means one
/// with ".dll".
#pragma once

#include "platform/posix/api/base.h"

/// Null on failure: ERROR_MOD_NOT_FOUND for a missing file, or for a library that needs something
/// missing, ERROR_BAD_EXE_FORMAT for a file that is no library. Loading a library again gives the
/// same handle; each is given back with FreeLibrary.
HMODULE LoadLibraryW(LPCWSTR fileName);

/// ERROR_MOD_NOT_FOUND for a handle that is no library's.
BOOL FreeLibrary(HMODULE module);

/// Null with ERROR_PROC_NOT_FOUND when the library itself does not export the name (a number in the
/// pointer's place, too), ERROR_MOD_NOT_FOUND for a handle that is no library's.
FARPROC GetProcAddress(HMODULE module, LPCSTR procName);

/// The path of the program and its length; `module` is null, else 0 with ERROR_INVALID_PARAMETER. A
/// short buffer takes what fits, with a NUL; the result is then `sizeChars`, the last error
/// ERROR_INSUFFICIENT_BUFFER.
DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD sizeChars);
