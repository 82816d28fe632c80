/// The text of the report that an exception handler scope writes.
#pragma once

enum class DumpOutcome { kNotAttempted, kFailed, kWritten };

/// Appends the report's lines to an empty text (an OString or a FixedText). `message` is trimmed;
/// `dumpFile` is read only when the dump was written.
template <class Text>
void ComposeCrashReport(Text& report, const char* message, const char* functionName,
                        DumpOutcome dump, const char* dumpFile) {
  report << "Error: " << message << "\r\n";
  report << "Caught in [" << functionName << "]\r\n";
  if (dump == DumpOutcome::kWritten) report << "MiniDump File: " << dumpFile << "\r\n";
  if (dump == DumpOutcome::kFailed) report << "Attemped to generate minidump file but failed\r\n";
}
