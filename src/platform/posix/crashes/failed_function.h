/// Functions that no exception gets out of.
#pragma once

#include <ucontext.h>

namespace platform {

/// For a signal handler that is going to throw, with the registers it was given. The innermost
/// function with an exception table may not expect an exception from where it is: none does while
/// it sets up its frame, nor from functions of the C library such as memcpy, which are thought to
/// throw nothing. Then the registers become those of its caller during the call, which is asked in
/// turn; so the exception comes from there instead of ending the process. A bad address that was
/// called gives the registers back to its caller. May be called in signal handlers.
void LeaveFailedFunction(ucontext_t& registers);

}  // namespace platform
