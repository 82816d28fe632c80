#include "support/oexception_handler.h"

#include <new>
#include <utility>

#include "support/oevent_log.h"
#include "support/ostring.h"

OExceptionHandler::OExceptionHandler(const char* functionName, DWORD flags)
    : _functionName(functionName), _flags(flags) {}

OExceptionHandler::~OExceptionHandler() = default;

void OExceptionHandler::SetEventLog(StdBrennick::shared_ptr<OEventLog> log) {
  _log = std::move(log);
}

void OExceptionHandler::UnSetEventLog() { _log.reset(); }

void OExceptionHandler::Handle(const OException& exception) {
  if ((_flags & kReportToLog) != 0) {
    try {
      Report(exception);
    } catch (const std::bad_alloc&) {
      // What ran out of memory may leave none for the report: the last error alone tells of it.
    }
  }
  if ((_flags & kSetLastError) != 0) {
    const LONG code = exception.ErrorCode();
    SetLastError(code < 1 ? ERROR_INTERNAL_ERROR : static_cast<DWORD>(code));
  }
}

void OExceptionHandler::Report(const OException& exception) {
  OString message(exception.Message());
  message.TrimRight().TrimLeft();
  OString report("Error: ");
  report << message << "\r\n"
         << "Caught in [" << _functionName << "]"
         << "\r\n";
  if (_log) _log->LogErrorEvent(report, 0);
}

void OExceptionHandler::OutOfMemory() { Handle(OException(ERROR_OUTOFMEMORY, nullptr, nullptr)); }

void OExceptionHandler::HandleStandardException(const OStdException& exception) {
  Handle(OException(ERROR_INTERNAL_ERROR, exception.Description(), nullptr));
}
