/// Functions that no exception gets out of.
#pragma once

#include <ucontext.h>

namespace platform {

/// For a signal handler that is going to throw, with the registers it was given. A bad address that
/// was called gives the registers back to its caller. When the exception table of the function that
/// failed does not expect it to fail where it did, as none does while the function sets up its
/// frame, the registers become those of its caller during the call. Then the exception comes from
/// there instead of ending the process. May be called in signal handlers.
void LeaveFailedFunction(ucontext_t& registers);

}  // namespace platform
