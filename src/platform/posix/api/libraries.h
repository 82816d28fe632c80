/// Libraries loaded at run time. A bare name is looked for among the system libraries that the layer
/// stands for ("Kernel32.dll"), then beside the program; a path is used as it is.
#pragma once

#include "platform/posix/api/base.h"

/// Null on failure: ERROR_MOD_NOT_FOUND for a missing file, ERROR_BAD_EXE_FORMAT for one that is no
/// library. The caller gives it back with FreeLibrary.
HMODULE LoadLibraryW(LPCWSTR fileName);
BOOL FreeLibrary(HMODULE module);

/// Null with ERROR_PROC_NOT_FOUND when the library does not export the name.
FARPROC GetProcAddress(HMODULE module, LPCSTR procName);
