/// Dump files of this process, one after another in the folder where support looks for them.
#pragma once

#include "platform/windows_api.h"
#include "support/ostring.h"

/// Dump files are named with the first free number from 0 on.
constexpr char kDumpFilePrefix[] = "bkcrash_";
constexpr char kDumpFileEnding[] = ".dmp";
constexpr int kDumpNumberDigits = 4;
constexpr int kMaxDumpFiles = 10000;

/// What every dump holds.
constexpr auto kDumpType = static_cast<MINIDUMP_TYPE>(
    MiniDumpWithDataSegs | MiniDumpWithHandleData | MiniDumpWithUnloadedModules |
    MiniDumpWithIndirectlyReferencedMemory);

/// The folder of dump files, which need not exist; empty when the system has no place for it.
OString DumpFolderPath();

/// Writes a dump for the exception that `pointers` describe, raised on the calling thread, as
/// bkcrash_NNNN.dmp with the first free number, into Brennick\Drivers\Dump under the folder of
/// common application data. The library that writes it is the one that the registry value
/// LOCAL_MACHINE:Software/Brennick/Drivers/Debug/dbghelp names, else "dbghelp.dll".
///
/// True when the dump was written. `fileName` is set as soon as the file has been created; a file
/// that could not be filled stays. Threads and processes that write dumps take turns; each waits at
/// most one minute for its turn.
bool WriteMiniDumpFile(EXCEPTION_POINTERS* pointers, OString& fileName);
