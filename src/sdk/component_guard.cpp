#include "sdk/component_guard.h"

#include <csignal>
#include <utility>

#include "platform/se_translator.h"
#include "support/oexception.h"
#include "support/se_translation.h"

namespace Tagwright {
namespace {

/// Where a call that cannot be unwound is left to.
struct Landing {
  void* frame[5] = {};                  // What the compiler's setjmp takes.
  EXCEPTION_POINTERS* crash = nullptr;  // Null until the component has crashed.
};

thread_local Landing* t_landing = nullptr;

/// The thread's translator during the call.
void TranslateCrash(unsigned code, EXCEPTION_POINTERS* pointers) {
  if (t_landing->crash != nullptr) __builtin_longjmp(t_landing->frame, 1);
  t_landing->crash = pointers;
  ThrowStructuredException(code, pointers);
}

/// What remains of a crash whose exception could not get out is a call of abort. Any other abort is
/// nobody's to survive: the heap ends so when it is found damaged, with its lock held.
void OnAbort(int) {
  if (t_landing == nullptr || t_landing->crash == nullptr) {
    std::signal(SIGABRT, SIG_DFL);
    return;
  }
  std::signal(SIGABRT, OnAbort);  // Delivery may have reset it.
  __builtin_longjmp(t_landing->frame, 1);
}

class CallScope {
 public:
  explicit CallScope(Landing& landing) : _previous(_set_se_translator(TranslateCrash)) {
    static const auto previousHandler = std::signal(SIGABRT, OnAbort);
    static_cast<void>(previousHandler);
    t_landing = &landing;
  }
  ~CallScope() {
    t_landing = nullptr;
    _set_se_translator(_previous);
  }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

 private:
  SeTranslator _previous;
};

/// False when the call was left by way of the landing. A function of its own, with no variables
/// that the jump could leave half changed.
[[gnu::noinline]] bool CallAndLand(Landing& landing, void (*call)(void*), void* argument) {
  if (__builtin_setjmp(landing.frame) != 0) return false;
  call(argument);
  return true;
}

}  // namespace

void GuardComponentCall(void (*call)(void*), void* argument) {
  Landing landing;
  const CallScope scope(landing);
  try {
    if (CallAndLand(landing, call, argument)) return;
    ThrowStructuredException(landing.crash->ExceptionRecord->ExceptionCode, landing.crash);
  } catch (const OException& exception) {
    // An overflow has taken the stack's guard away.
    if (exception.ErrorCode() == ERROR_STACK_OVERFLOW) _resetstkoflw();
    throw;
  }
}

}  // namespace Tagwright
