/// What the program's exceptions make of structured exceptions.
#pragma once

#include "platform/windows_api.h"

/// The translator of every thread with an exception handler scope: throws an OException with the
/// error code and text that stand for the exception's code, and with the pointers.
[[noreturn]] void ThrowStructuredException(unsigned code, EXCEPTION_POINTERS* pointers);
