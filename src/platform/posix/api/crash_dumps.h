/// Crash dumps: what the library "dbghelp.dll" exports, to be looked up at run time.
#pragma once

#include "platform/posix/api/base.h"
#include "platform/posix/api/exceptions.h"

enum MINIDUMP_TYPE : DWORD {
  MiniDumpNormal = 0x00,
  MiniDumpWithDataSegs = 0x01,
  MiniDumpWithHandleData = 0x04,
  MiniDumpWithUnloadedModules = 0x20,
  MiniDumpWithIndirectlyReferencedMemory = 0x40,
};

struct MINIDUMP_EXCEPTION_INFORMATION {
  DWORD ThreadId;
  EXCEPTION_POINTERS* ExceptionPointers;
  BOOL ClientPointers;
};

using MINIDUMP_USER_STREAM_INFORMATION = struct _MINIDUMP_USER_STREAM_INFORMATION;
using MINIDUMP_CALLBACK_INFORMATION = struct _MINIDUMP_CALLBACK_INFORMATION;

/// Writes a dump of the calling process into a file from its start: system, threads, modules, the
/// exception, stacks, the writable data of modules (MiniDumpWithDataSegs) and what the exception's
/// registers and stack point to (MiniDumpWithIndirectlyReferencedMemory). Handles and unloaded
/// modules, of which a Linux process has none, are accepted and left out. It takes no memory from
/// the heap; the other threads stand still meanwhile.
///
/// ERROR_NOT_SUPPORTED for another process, another type bit, user streams or callbacks;
/// ERROR_INVALID_HANDLE for what is no file.
BOOL MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE dumpType,
                       const MINIDUMP_EXCEPTION_INFORMATION* exception,
                       const MINIDUMP_USER_STREAM_INFORMATION* userStreams,
                       const MINIDUMP_CALLBACK_INFORMATION* callback);
