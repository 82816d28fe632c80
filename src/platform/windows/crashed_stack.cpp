#include "platform/windows/crashed_stack.h"

#include <algorithm>
#include <cstring>

namespace platform {
namespace {

/// Enough for all the frames that matter; of an overflowing stack only the innermost frames fit.
constexpr DWORD64 kMaxBytes = 512 * 1024;

/// From the thread's block (NT_TIB::StackBase).
DWORD64 StackBase() {
  DWORD64 base = 0;
  asm("movq %%gs:8, %0" : "=r"(base));
  return base;
}

}  // namespace

CrashedStack::~CrashedStack() {
  if (_bytes != nullptr) VirtualFree(_bytes, 0, MEM_RELEASE);
}

void CrashedStack::Copy(DWORD64 stackPointer) {
  _sizeBytes = 0;
  const DWORD64 base = StackBase();
  if (stackPointer >= base) return;
  if (_bytes == nullptr) {
    _bytes = static_cast<BYTE*>(
        VirtualAlloc(nullptr, kMaxBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  }
  if (_bytes == nullptr) return;
  _start = stackPointer;
  _sizeBytes = static_cast<ULONG32>(std::min(base - stackPointer, kMaxBytes));
  std::memcpy(_bytes, reinterpret_cast<const void*>(stackPointer), _sizeBytes);
}

}  // namespace platform
