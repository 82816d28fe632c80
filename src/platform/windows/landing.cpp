#include "platform/landing.h"

namespace platform {

// The list of exception frames at the start of the thread's block, which Windows itself uses in
// 32-bit programs only; Wine's own functions use it in 64-bit ones, too.

ULONG_PTR NoteOpenFrames() {
  ULONG_PTR first = 0;
  asm volatile("movq %%gs:0, %0" : "=r"(first));
  return first;
}

void ForgetFramesSince(ULONG_PTR note) { asm volatile("movq %0, %%gs:0" : : "r"(note) : "memory"); }

}  // namespace platform
