/// The exception scope of a thread procedure.
#pragma once

#include "platform/windows_api.h"
#include "support/oexception.h"
#include "support/shared_ptr.h"

class OEventLog;

/// Reports what the catch blocks of its thread procedure hand to it. It never ends the thread or
/// the process. Lives on the stack of the procedure and belongs to its thread.
class OExceptionHandler {
 public:
  static constexpr DWORD kReportToLog = 0x1;
  static constexpr DWORD kSetLastError = 0x8;

  /// `functionName` is not copied.
  OExceptionHandler(const char* functionName, DWORD flags);
  virtual ~OExceptionHandler();
  OExceptionHandler(const OExceptionHandler&) = delete;
  OExceptionHandler& operator=(const OExceptionHandler&) = delete;

  /// Writes one error event (kReportToLog; only with a log, whatever its mask says) and sets the
  /// thread's last error to the exception's code (kSetLastError). Raises nothing; the report is
  /// lost when there is no memory for it.
  virtual void Handle(const OException& exception);

  /// Keeps a reference to the log until UnSetEventLog or the end of the handler.
  void SetEventLog(StdBrennick::shared_ptr<OEventLog> log);
  void UnSetEventLog();

  /// Report memory exhaustion as ERROR_OUTOFMEMORY, a standard failure as ERROR_INTERNAL_ERROR.
  void OutOfMemory();
  void HandleStandardException(const OStdException& exception);

 private:
  void Report(const OException& exception);

  const char* _functionName;
  DWORD _flags;
  StdBrennick::shared_ptr<OEventLog> _log;
};
