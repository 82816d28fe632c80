#include "support/thread_procedure.h"

#include <exception>
#include <iterator>
#include <new>

#include "support/crash_guard.h"
#include "support/oexception.h"

bool RunGuarded(OExceptionHandler& handler, WorkRef work, OtherExceptions others) {
  const auto report = [&](const char* description) {
    if (others == OtherExceptions::kReport) {
      handler.HandleStandardException(OStdException(description));
    }
  };
  try {
    GuardCrashes(work);
    return true;
  } catch (const OException& exception) {
    handler.Handle(exception);
  } catch (CMemoryException* exception) {
    exception->Delete();
    handler.OutOfMemory();
  } catch (const std::bad_alloc&) {
    handler.OutOfMemory();
  } catch (const OStdException& exception) {
    handler.HandleStandardException(exception);
  } catch (CException* exception) {
    exception->Delete();
  } catch (const std::exception& exception) {
    report(exception.what());
  } catch (...) {
    report("Exception of unknown type.");
  }
  return false;
}

bool RunThread(const char* name, WorkRef work, OtherExceptions others) {
  OExceptionHandler handler(name, kThreadHandlerFlags);
  handler.SetEventLog(Z7SvEventLog);
  const bool succeeded = RunGuarded(handler, work, others);
  handler.UnSetEventLog();
  return succeeded;
}

OString FrameworkMessage(const CException& exception) {
  WCHAR buffer[255] = {};
  exception.GetErrorMessage(buffer, std::size(buffer), nullptr);
  return OString(buffer);
}

void LogFrameworkException(const Tracer& trace, WorkRef work) {
  try {
    work();
  } catch (CException* exception) {
    trace.Error([&] { return OString("Exception. Message = ") << FrameworkMessage(*exception); });
    exception->Delete();
  }
}
