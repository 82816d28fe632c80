/// The report of a crash that ends the process (see platform/fatal_crash.h).
#pragma once

/// From now on a fatal crash of any thread leaves what other crashes leave: an error event with its
/// log line, and a dump file. Both are written without the heap; the dump library of the registry,
/// the debugger output and the log file's mutex are passed over. The event is that of the thread's
/// innermost exception handler scope; a thread without one, and so without a name, reports to the
/// process's log. May be called again and again.
void PrepareLastReport();
