/// Structured exceptions (bad addresses, divisions by zero, illegal instructions, used up stacks)
/// as C++ exceptions.
#pragma once

#include "platform/windows_api.h"

/// Called on the thread that raised the exception, with its code. It is to throw; when it returns,
/// the exception ends the process as if there were no translator. The pointers and what they point
/// to stay as they are until the thread raises its next one or ends.
using SeTranslator = void (*)(unsigned code, EXCEPTION_POINTERS* pointers);

/// Installs the calling thread's translator, null for none, and returns the one before. The name is
/// the Windows runtime's; the function is this layer's own on both systems, because the runtime's
/// does not reach the exceptions of this compiler.
///
/// What the translator throws unwinds from the instruction that failed. So the code it passes has
/// to be built with -fnon-call-exceptions; a function built without may lie on the way as long as
/// the failing instruction is not in a function of its kind that has destructors to run or
/// exceptions to catch: that ends the process, and so does a noexcept function on the way.
///
/// Threads without a translator, C++ exceptions and the system's informational exceptions are left
/// alone.
SeTranslator _set_se_translator(SeTranslator translator);
