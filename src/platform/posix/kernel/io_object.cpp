#include "platform/posix/kernel/io_object.h"

#include "platform/posix/api/files.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"

using platform::Fail;
using platform::IoObject;
using platform::KernelScope;
using platform::Lookup;

namespace {

BOOL Report(DWORD error) { return error == 0 ? TRUE : Fail(error); }

// One transfer in either direction: the checks and the count are the same.
template <class Transfer>
BOOL RunTransfer(HANDLE file, LPDWORD count, LPOVERLAPPED overlapped, Transfer transfer) {
  if (count != nullptr) *count = 0;
  if (overlapped != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const platform::ObjectUse use(file);
  IoObject* const target = use.Get() != nullptr ? use.Get()->AsIoObject() : nullptr;
  if (target == nullptr) return Fail(ERROR_INVALID_HANDLE);
  DWORD done = 0;
  const DWORD error = transfer(*target, done);
  if (count != nullptr) *count = done;
  return Report(error);
}

}  // namespace

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD bytesRead, LPOVERLAPPED overlapped) {
  const KernelScope scope;
  return RunTransfer(file, bytesRead, overlapped, [&](IoObject& object, DWORD& done) {
    return object.Read(buffer, size, done);
  });
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD bytesWritten,
               LPOVERLAPPED overlapped) {
  const KernelScope scope;
  return RunTransfer(file, bytesWritten, overlapped, [&](IoObject& object, DWORD& done) {
    return object.Write(buffer, size, done);
  });
}

BOOL FlushFileBuffers(HANDLE file) {
  const KernelScope scope;
  const auto object = Lookup<IoObject>(file);
  return object ? Report(object->Flush()) : FALSE;
}
