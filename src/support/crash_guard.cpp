#include "support/crash_guard.h"

#include <exception>
#include <mutex>
#include <utility>

#include "platform/fatal_crash.h"
#include "platform/landing.h"
#include "platform/se_translator.h"
#include "support/oexception.h"

namespace {

struct Guard {
  platform::Landing landing;
  const int exceptionsBefore = std::uncaught_exceptions();
  EXCEPTION_POINTERS* crash = nullptr;  // The last one; null until there was one.
};

thread_local Guard* t_guard = nullptr;

/// The crash that the exception being handled stands for; null when it stands for none.
EXCEPTION_POINTERS* CurrentCrash() {
  const std::exception_ptr current = std::current_exception();
  if (!current) return nullptr;
  try {
    std::rethrow_exception(current);
  } catch (const OException& exception) {
    return exception.Pointers();
  } catch (...) {
    return nullptr;
  }
}

/// Whether an exception was thrown in the guard's call that nobody has caught yet.
bool IsUnwinding(const Guard& guard) { return std::uncaught_exceptions() > guard.exceptionsBefore; }

/// The thread's translator during the call.
void TranslateCrash(unsigned code, EXCEPTION_POINTERS* pointers) {
  const bool isSecond = t_guard->crash != nullptr && IsUnwinding(*t_guard);
  t_guard->crash = pointers;
  // An exception that leaves a destructor while another one unwinds would end the process.
  if (isSecond) t_guard->landing.JumpBack();
  ThrowStructuredException(code, pointers);
}

std::terminate_handler g_previousTerminate = nullptr;

/// The runtime comes here with an exception that finds no way out.
void OnTerminate() {
  EXCEPTION_POINTERS* const crash = CurrentCrash();
  Guard* const guard = t_guard;
  const bool isCrash = crash != nullptr || (guard != nullptr && IsUnwinding(*guard));
  if (guard != nullptr && guard->crash != nullptr && isCrash) guard->landing.JumpBack();
  if (crash != nullptr) platform::ReportFatalCrash(crash);
  g_previousTerminate();
}

void InstallTerminateHandler() {
  static std::once_flag installed;
  std::call_once(installed, [] { g_previousTerminate = std::set_terminate(OnTerminate); });
}

class GuardScope {
 public:
  explicit GuardScope(Guard& guard)
      : _outer(std::exchange(t_guard, &guard)),
        _previousTranslator(_set_se_translator(TranslateCrash)) {
    InstallTerminateHandler();
  }
  ~GuardScope() {
    const bool hasCrashed = t_guard->crash != nullptr;
    t_guard = _outer;
    _set_se_translator(_previousTranslator);
    // One of its crashes may have been an overflow, which has taken the stack's guard away.
    if (hasCrashed) _resetstkoflw();
  }
  GuardScope(const GuardScope&) = delete;
  GuardScope& operator=(const GuardScope&) = delete;

 private:
  Guard* _outer;
  SeTranslator _previousTranslator;
};

}  // namespace

void GuardCrashes(void (*call)(void*), void* argument) {
  Guard guard;
  const GuardScope scope(guard);
  if (guard.landing.Call(call, argument)) return;
  ThrowStructuredException(guard.crash->ExceptionRecord->ExceptionCode, guard.crash);
}
