/// A way back out of a call that no exception can leave.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// Used by one thread. The frames that are jumped over are abandoned: none of their destructors
/// runs, and the resources they hold leak, exception objects included.
class Landing {
 public:
  /// Calls `call(argument)`. False when JumpBack has ended the call.
  [[gnu::noinline]] bool Call(void (*call)(void*), void* argument);

  /// Goes back to the Call that is running; from a signal handler, too.
  [[noreturn]] void JumpBack();

 private:
  /// What the runtime keeps of a thread's exceptions (Itanium C++ ABI, "Caught Exception Stack").
  struct ExceptionState {
    void* caught;
    unsigned int uncaughtCount;
  };

  void* _frame[5] = {};  // What the compiler's setjmp takes.
  ULONG_PTR _openFrames = 0;
  ExceptionState* _exceptionState = nullptr;
  ExceptionState _exceptionStateBefore{};
};

/// What the system keeps of the calling thread's open frames. Each system has its own.
ULONG_PTR NoteOpenFrames();
/// Makes the system forget the frames that have been opened since.
void ForgetFramesSince(ULONG_PTR note);

}  // namespace platform
