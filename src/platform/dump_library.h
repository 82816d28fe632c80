/// A dump library's function, called for a crash of the calling thread.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// Writes a dump of this process into `file`, which is open for reading and writing, and returns
/// what `writeDump` returns. The dump holds the crashed thread's stack as it was at the crash
/// (its innermost 512 KB), even where the exception has unwound it since.
BOOL WriteDumpWith(decltype(&MiniDumpWriteDump) writeDump, HANDLE file, MINIDUMP_TYPE type,
                   EXCEPTION_POINTERS* pointers);

}  // namespace platform
