#include "support/oexception_handler.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "support/last_report.h"
#include "support/mini_dump_writer.h"
#include "support/oevent_log.h"
#include "support/ostring.h"

namespace {

// The report of a fatal crash reads this, in a signal handler.
constinit thread_local const OExceptionHandler* t_innermost = nullptr;

}  // namespace

OExceptionHandler::OExceptionHandler(const char* functionName, DWORD flags)
    : _outer(std::exchange(t_innermost, this)),
      _previousTranslator(_set_se_translator(ThrowStructuredException)),
      _functionName(functionName),
      _flags(flags) {
  PrepareLastReport();
}

OExceptionHandler::~OExceptionHandler() {
  _set_se_translator(_previousTranslator);
  t_innermost = _outer;
}

const OExceptionHandler* OExceptionHandler::Innermost() { return t_innermost; }

void OExceptionHandler::SetEventLog(StdBrennick::shared_ptr<OEventLog> log) {
  _log = std::move(log);
}

void OExceptionHandler::UnSetEventLog() { _log.reset(); }

void OExceptionHandler::Handle(const OException& exception) {
  auto dump = DumpOutcome::kNotAttempted;
  if (EXCEPTION_POINTERS* const pointers = exception.Pointers()) {
    dump = WriteMiniDump(pointers) ? DumpOutcome::kWritten : DumpOutcome::kFailed;
  }
  if ((_flags & kReportToLog) != 0) {
    try {
      Report(exception, dump);
    } catch (...) {
      // Memory may have run out, or the heap may be damaged: only the last error reports it.
    }
  }
  if ((_flags & kSetLastError) != 0) {
    const LONG code = exception.ErrorCode();
    SetLastError(code < 1 ? ERROR_INTERNAL_ERROR : static_cast<DWORD>(code));
  }
}

bool OExceptionHandler::WriteMiniDump(EXCEPTION_POINTERS* pointers) try {
  OString fileName;
  const bool isWritten = WriteMiniDumpFile(pointers, fileName);
  if (fileName.IsEmpty()) return false;
  const char* const name = fileName.nstring();
  const std::size_t length = std::min(std::strlen(name), std::size(_dumpFileName) - 1);
  *std::copy_n(name, length, _dumpFileName) = 0;
  return isWritten;
} catch (...) {
  return false;  // What the crash has left behind may make this crash as well.
}

void OExceptionHandler::Report(const OException& exception, DumpOutcome dump) {
  OString message(exception.Message());
  message.TrimRight().TrimLeft();
  OString report;
  ComposeCrashReport(report, message.nstring(), _functionName, dump, _dumpFileName);
  if (_log) _log->LogErrorEvent(report, 0);
}

void OExceptionHandler::OutOfMemory() { Handle(OException(ERROR_OUTOFMEMORY, nullptr, nullptr)); }

void OExceptionHandler::HandleStandardException(const OStdException& exception) {
  Handle(OException(ERROR_INTERNAL_ERROR, exception.Description(), nullptr));
}
