/// The catch pattern of every thread procedure: what the library raises ends at the thread's own
/// exception handler scope.
#pragma once

#include <new>
#include <utility>

#include "platform/framework_exceptions.h"
#include "support/oexception.h"
#include "support/oexception_handler.h"

/// Flags of every thread procedure's handler: report to the log, set the thread's last error.
constexpr DWORD kThreadHandlerFlags =
    OExceptionHandler::kReportToLog | OExceptionHandler::kSetLastError;

/// Runs `work` and reports the library's exceptions through `handler`. An exception of any other
/// type ends here without a report: it was logged on its way, it ends the thread's work, and it
/// must not end the process. Returns true when `work` returned normally.
template <class Work>
bool RunGuarded(OExceptionHandler& handler, Work&& work) {
  try {
    std::forward<Work>(work)();
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
  } catch (...) {
  }
  return false;
}
