/// What the compiler's exception tables say of an instruction.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// Whether the C++ exception table of a function (its language-specific data, in the format of
/// GCC's `except_tab` sections: the call-site records of the Itanium C++ ABI's exception handling)
/// has a record for the instruction at `offset` bytes from the function's start. An exception
/// thrown from an instruction without one ends the process. Also true for a table of a form that no
/// compiler of this program writes.
bool IsInExceptionTable(const BYTE* table, ULONG_PTR offset);

}  // namespace platform
