/// A way back out of a call that no exception can leave.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// Used by one thread. What the frames that are jumped over hold stays held, and none of their
/// destructors runs.
class Landing {
 public:
  /// Calls `call(argument)`. False when JumpBack has ended the call.
  [[gnu::noinline]] bool Call(void (*call)(void*), void* argument);

  /// Goes back to the Call that is running; from a signal handler, too.
  [[noreturn]] void JumpBack();

 private:
  void* _frame[5] = {};  // What the compiler's setjmp takes.
  ULONG_PTR _openFrames = 0;
};

/// What the system has noted of the calling thread's open frames. Each system has its own.
ULONG_PTR NoteOpenFrames();
/// Makes it forget those that have been opened since.
void ForgetFramesSince(ULONG_PTR note);

}  // namespace platform
