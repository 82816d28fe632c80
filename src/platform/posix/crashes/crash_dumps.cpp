#include "platform/posix/api/crash_dumps.h"

#include "platform/posix/api/processes.h"
#include "platform/posix/crashes/dump_writer.h"
#include "platform/posix/files/disk_file.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"

using platform::Fail;

namespace {

constexpr DWORD kProvidedTypes = MiniDumpWithDataSegs | MiniDumpWithHandleData |
                                 MiniDumpWithUnloadedModules |
                                 MiniDumpWithIndirectlyReferencedMemory;

}  // namespace

BOOL MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE dumpType,
                       const MINIDUMP_EXCEPTION_INFORMATION* exception,
                       const MINIDUMP_USER_STREAM_INFORMATION* userStreams,
                       const MINIDUMP_CALLBACK_INFORMATION* callback) {
  const platform::KernelScope scope;
  if (process != GetCurrentProcess() || processId != GetCurrentProcessId() ||
      (dumpType & ~kProvidedTypes) != 0 || userStreams != nullptr || callback != nullptr) {
    return Fail(ERROR_NOT_SUPPORTED);
  }
  const auto disk = platform::Lookup<platform::DiskFile>(file);
  if (!disk) return FALSE;
  const bool isWritten = platform::WriteDump(disk->Descriptor(), dumpType, exception);
  return isWritten ? TRUE : Fail(ERROR_WRITE_FAULT);
}
