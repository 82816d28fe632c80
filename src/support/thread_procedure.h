/// What every thread procedure of the program is made of: an exception handler scope, COM, and the
/// catch pattern at whose end the thread ends in order.
#pragma once

#include <memory>
#include <type_traits>

#include "platform/framework_exceptions.h"
#include "support/log.h"
#include "support/oexception_handler.h"
#include "support/ostring.h"

/// A callable without arguments, by reference: making one allocates nothing and cannot fail. Its
/// result is ignored. It is for the parameters of a function that calls it before it returns.
class WorkRef {
 public:
  template <class Work>
  requires(!std::is_same_v<std::remove_cvref_t<Work>, WorkRef>) WorkRef(Work&& work)
      : _work(const_cast<void*>(reinterpret_cast<const volatile void*>(std::addressof(work)))),
        _call([](void* target) { (*reinterpret_cast<std::remove_reference_t<Work>*>(target))(); }) {
  }

  void operator()() const { _call(_work); }

 private:
  void* _work;
  void (*_call)(void*);
};

/// Flags of every thread procedure's handler: report to the log, set the thread's last error.
constexpr DWORD kThreadHandlerFlags =
    OExceptionHandler::kReportToLog | OExceptionHandler::kSetLastError;

/// What becomes of exceptions that are not the library's own.
enum class OtherExceptions {
  kReport,      ///< They are reported as standard failures.
  kWereLogged,  ///< Their lines were written on the way: there is nothing left to say.
};

/// Runs `work` and reports the library's exceptions through `handler`. Every other one ends here as
/// well, for it must not end the process: a framework exception without a report, because every
/// thread procedure logs it itself, the rest as `others` says. Returns true when `work` returned
/// normally.
bool RunGuarded(OExceptionHandler& handler, WorkRef work,
                OtherExceptions others = OtherExceptions::kReport);

/// The body of a thread procedure: runs `work` as RunGuarded does, in a handler scope of the
/// thread's own that reports to the process's log under `name` (not copied).
bool RunThread(const char* name, WorkRef work, OtherExceptions others = OtherExceptions::kReport);

/// Enters a single-threaded apartment. Anything but S_OK is logged as the error `intro` +
/// "coInitResult = " + the result in hexadecimal; the thread goes on either way. `intro` is a
/// callable that returns an OString and is called only when the line is written. The caller
/// balances it with CoUninitialize.
template <class Intro>
void InitializeApartment(Intro&& intro) {
  const HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (result == S_OK) return;
  Log::Error([&] {
    return OString(intro()) << "coInitResult = " << FormatHex(static_cast<DWORD>(result));
  });
}

/// The message of a framework exception as log lines show it: cut to 254 characters, empty when the
/// exception has none.
OString FrameworkMessage(const CException& exception);

/// Runs `work`. A framework exception that leaves it is logged as an error line of `trace`,
/// "Exception. Message = " + its message, and ends here; every other exception passes.
void LogFrameworkException(const Tracer& trace, WorkRef work);
