#include "platform/landing.h"

#include "platform/posix/kernel/kernel_scope.h"

namespace platform {

ULONG_PTR NoteOpenFrames() { return static_cast<ULONG_PTR>(KernelDepth()); }

void ForgetFramesSince(ULONG_PTR note) { ReturnToKernelDepth(static_cast<int>(note)); }

}  // namespace platform
