#include "platform/landing.h"

#include <cxxabi.h>

namespace platform {

bool Landing::Call(void (*call)(void*), void* argument) {
  _openFrames = NoteOpenFrames();
  _exceptionState = reinterpret_cast<ExceptionState*>(abi::__cxa_get_globals());
  _exceptionStateBefore = *_exceptionState;
  if (__builtin_setjmp(_frame) != 0) return false;
  call(argument);
  return true;
}

void Landing::JumpBack() {
  ForgetFramesSince(_openFrames);
  // The exception that found no way out is neither handled nor unwinding any more.
  *_exceptionState = _exceptionStateBefore;
  __builtin_longjmp(_frame, 1);
}

}  // namespace platform
