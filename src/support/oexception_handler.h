/// The exception scope of a thread procedure.
#pragma once

#include "platform/se_translator.h"
#include "platform/windows_api.h"
#include "support/crash_report.h"
#include "support/oexception.h"
#include "support/shared_ptr.h"

class OEventLog;

/// While it lives, structured exceptions of its thread are thrown as OException. Reports what the
/// catch blocks of its thread procedure hand to it. It never ends the thread or the process. Nested
/// handlers give the thread's translator back in the reverse order of their construction. Lives on
/// the stack of the procedure and belongs to its thread.
class OExceptionHandler {
 public:
  static constexpr DWORD kReportToLog = 0x1;
  static constexpr DWORD kSetLastError = 0x8;

  /// `functionName` is not copied.
  OExceptionHandler(const char* functionName, DWORD flags);
  virtual ~OExceptionHandler();
  OExceptionHandler(const OExceptionHandler&) = delete;
  OExceptionHandler& operator=(const OExceptionHandler&) = delete;

  /// Writes a dump file when the exception was a structured one, then one error event
  /// (kReportToLog; only with a log, whatever its mask says) and sets the thread's last error to
  /// the exception's code (kSetLastError). Raises nothing; the report is lost when there is no
  /// memory for it.
  virtual void Handle(const OException& exception);

  /// Keeps a reference to the log until UnSetEventLog or the end of the handler.
  void SetEventLog(StdBrennick::shared_ptr<OEventLog> log);
  void UnSetEventLog();

  /// Report memory exhaustion as ERROR_OUTOFMEMORY, a standard failure as ERROR_INTERNAL_ERROR.
  void OutOfMemory();
  void HandleStandardException(const OStdException& exception);

  /// The calling thread's innermost handler; null when it has none. May be asked in a crash.
  static const OExceptionHandler* Innermost();
  const char* FunctionName() const { return _functionName; }
  /// Null without a log.
  const OEventLog* EventLog() const { return _log.get(); }

 private:
  bool WriteMiniDump(EXCEPTION_POINTERS* pointers);
  void Report(const OException& exception, DumpOutcome dump);

  const OExceptionHandler* _outer;
  SeTranslator _previousTranslator;
  const char* _functionName;
  DWORD _flags;
  StdBrennick::shared_ptr<OEventLog> _log;
  char _dumpFileName[MAX_PATH] = {};  // Of the last dump, in the ANSI code page.
};
