/// What the compiler's exception tables say of an instruction.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// Which record of a function's C++ exception table (its language-specific data, in the format of
/// GCC's `except_tab` sections: the call-site records of the Itanium C++ ABI's exception handling)
/// is for the instruction at `offset` bytes from the function's start; kNoCallSite when none is: an
/// exception thrown from there ends the process. 0 for any offset when the table has a form that no
/// compiler of this program writes.
int FindCallSite(const BYTE* table, ULONG_PTR offset);

constexpr int kNoCallSite = -1;

}  // namespace platform
