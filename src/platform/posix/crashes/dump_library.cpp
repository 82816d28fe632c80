#include "platform/dump_library.h"

namespace platform {

BOOL WriteDumpWith(decltype(&MiniDumpWriteDump) writeDump, HANDLE file, MINIDUMP_TYPE type,
                   EXCEPTION_POINTERS* pointers) {
  // The layer's own library is the only one, and takes the stack from the thread's crash site.
  const MINIDUMP_EXCEPTION_INFORMATION exception{GetCurrentThreadId(), pointers, TRUE};
  return writeDump(GetCurrentProcess(), GetCurrentProcessId(), file, type, &exception, nullptr,
                   nullptr);
}

}  // namespace platform
