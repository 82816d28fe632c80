#include "support/oexception_handler.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "support/mini_dump_writer.h"
#include "support/oevent_log.h"
#include "support/ostring.h"

OExceptionHandler::OExceptionHandler(const char* functionName, DWORD flags)
    : _previousTranslator(_set_se_translator(ThrowStructuredException)),
      _functionName(functionName),
      _flags(flags) {}

OExceptionHandler::~OExceptionHandler() { _set_se_translator(_previousTranslator); }

void OExceptionHandler::SetEventLog(StdBrennick::shared_ptr<OEventLog> log) {
  _log = std::move(log);
}

void OExceptionHandler::UnSetEventLog() { _log.reset(); }

void OExceptionHandler::Handle(const OException& exception) {
  Dump dump = Dump::kNotAttempted;
  if (EXCEPTION_POINTERS* const pointers = exception.Pointers()) {
    dump = WriteMiniDump(pointers) ? Dump::kWritten : Dump::kFailed;
  }
  if ((_flags & kReportToLog) != 0) {
    try {
      Report(exception, dump);
    } catch (...) {
      // Memory may have run out, or the heap be damaged: the last error alone tells of it.
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

void OExceptionHandler::Report(const OException& exception, Dump dump) {
  OString message(exception.Message());
  message.TrimRight().TrimLeft();
  OString report("Error: ");
  report << message << "\r\n"
         << "Caught in [" << _functionName << "]"
         << "\r\n";
  if (dump == Dump::kWritten) report << "MiniDump File: " << _dumpFileName << "\r\n";
  if (dump == Dump::kFailed)
    report << "Attemped to generate minidump file but failed"
           << "\r\n";
  if (_log) _log->LogErrorEvent(report, 0);
}

void OExceptionHandler::OutOfMemory() { Handle(OException(ERROR_OUTOFMEMORY, nullptr, nullptr)); }

void OExceptionHandler::HandleStandardException(const OStdException& exception) {
  Handle(OException(ERROR_INTERNAL_ERROR, exception.Description(), nullptr));
}
