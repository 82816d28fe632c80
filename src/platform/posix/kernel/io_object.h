/// What ReadFile, WriteFile, FlushFileBuffers and CancelIoEx find behind a handle: an open file or
/// one end of a pipe.
#pragma once

#include "platform/posix/kernel/object.h"

namespace platform {

/// The operations return a system error code, 0 for success. Any thread may call them; the caller
/// holds a KernelScope and keeps the object alive, so a handle that is closed meanwhile does no
/// harm.
class IoObject : public Object {
 public:
  IoObject* AsIoObject() final { return this; }

  /// `done` is the number of bytes read; written on success only.
  virtual DWORD Read(void* buffer, DWORD size, DWORD& done) = 0;
  /// `done` is the number of bytes written; written on success only.
  virtual DWORD Write(const void* buffer, DWORD size, DWORD& done) = 0;
  virtual DWORD Flush() = 0;

  /// Ends what is blocked on the object with ERROR_OPERATION_ABORTED; returns how many calls that
  /// was.
  virtual int CancelPending() { return 0; }
};

}  // namespace platform
