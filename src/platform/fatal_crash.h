/// The end of the process in a crash that no exception can carry to a handler.
///
/// A crash is fatal when its thread has no translator, when it happened inside the heap or while a
/// library is loaded (Linux: a lock may be held, and the state be anything), while another crash
/// was being translated, and when the program aborts, by itself or in std::terminate.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// The code that stands for an abort; the value is that of Windows' STATUS_FATAL_APP_EXIT.
constexpr DWORD kAborted = 0x40000015;

/// Writes the report. It is called on the thread that crashed, on its signal stack if it has one,
/// and must neither take memory from the heap nor wait for a lock.
using FatalCrashHandler = void (*)(EXCEPTION_POINTERS* pointers);

/// Far more than a report takes; nobody may have to wait for a process whose report hangs.
constexpr DWORD kLongestReportMs = 20'000;

/// Installs the process's handler, which is called for its first fatal crash. Then the process ends
/// as if there were none, and after kLongestReportMs when the handler does not return. Threads with
/// a fatal crash of their own meanwhile stand still.
void SetFatalCrashHandler(FatalCrashHandler handler);

/// Calls the handler for a crash that has been translated and whose exception found no way out. The
/// caller ends the process.
void ReportFatalCrash(EXCEPTION_POINTERS* pointers);

/// Whether the calling thread is in its report: a crash there is not translated.
bool IsReportingFatalCrash();

}  // namespace platform
