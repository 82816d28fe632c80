#include "platform/landing.h"

namespace platform {

bool Landing::Call(void (*call)(void*), void* argument) {
  _openFrames = NoteOpenFrames();
  if (__builtin_setjmp(_frame) != 0) return false;
  call(argument);
  return true;
}

void Landing::JumpBack() {
  ForgetFramesSince(_openFrames);
  __builtin_longjmp(_frame, 1);
}

}  // namespace platform
