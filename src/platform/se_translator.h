/// Structured exceptions (bad addresses, divisions by zero, illegal instructions, stack overflows)
/// as C++ exceptions.
#pragma once

#include "platform/windows_api.h"

/// Called on the thread that raised the exception, with its code. It is to throw; when it returns,
/// the exception ends the process as if there were no translator. The pointers and what they point
/// to stay as they are until the thread raises its next one or ends.
using SeTranslator = void (*)(unsigned code, EXCEPTION_POINTERS* pointers);

/// Installs the calling thread's translator, null for none, and returns the one before. Without
/// memory for it the thread goes without. The name is the Windows runtime's; the function is this
/// layer's own on both systems, because the runtime's does not reach the exceptions of this
/// compiler.
///
/// What the translator throws unwinds from the instruction that failed, through code that has to be
/// built with -fnon-call-exceptions. The innermost function with an exception table may not expect
/// an exception from where it is (it sets up its frame, is noexcept, or called a function such as
/// memcpy, which is thought to throw nothing). Then its call has failed: its own destructors and
/// catch blocks are passed over (Windows: in this program's own module; elsewhere that ends the
/// process). A noexcept function further out ends the process.
///
/// A stack overflow is raised while there is room left for its exception; _resetstkoflw restores
/// the guard that this takes.
///
/// Windows: an inner frame that handles the exception comes first. C++ exceptions, other exceptions
/// that a program raises itself (with the customer bit) and the system's informational exceptions
/// are left alone. Crashes that are not translated are fatal (fatal_crash.h).
SeTranslator _set_se_translator(SeTranslator translator);
