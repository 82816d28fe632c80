/// The stack of a crashed thread as it was at the crash.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// Belongs to one thread. The memory for the copy is taken from the system at the first crash.
class CrashedStack {
 public:
  CrashedStack() = default;
  ~CrashedStack();
  CrashedStack(const CrashedStack&) = delete;
  CrashedStack& operator=(const CrashedStack&) = delete;

  /// Copies the calling thread's stack from `stackPointer` outwards; nothing when there is no
  /// memory.
  void Copy(DWORD64 stackPointer);

  const BYTE* Bytes() const { return _bytes; }
  DWORD64 Start() const { return _start; }
  DWORD64 End() const { return _start + _sizeBytes; }
  /// 0 while there is no copy.
  ULONG32 SizeBytes() const { return _sizeBytes; }

 private:
  BYTE* _bytes = nullptr;
  DWORD64 _start = 0;
  ULONG32 _sizeBytes = 0;
};

/// The calling thread's copy for the crash that the pointers describe; null when there is none.
const CrashedStack* FindCrashedStack(const EXCEPTION_POINTERS* pointers);

}  // namespace platform
