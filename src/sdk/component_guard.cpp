#include "sdk/component_guard.h"

#include <csignal>

#include "platform/landing.h"
#include "platform/se_translator.h"
#include "support/se_translation.h"

namespace Tagwright {
namespace {

/// A call of the component.
struct GuardedCall {
  platform::Landing landing;
  EXCEPTION_POINTERS* crash = nullptr;  // Null until the component has crashed.
};

thread_local GuardedCall* t_call = nullptr;

/// The thread's translator during the call.
void TranslateCrash(unsigned code, EXCEPTION_POINTERS* pointers) {
  if (t_call->crash != nullptr) t_call->landing.JumpBack();
  t_call->crash = pointers;
  ThrowStructuredException(code, pointers);
}

/// What becomes of a crash whose exception cannot get out is a call of abort. Any other abort is
/// nobody's to survive: the heap ends so when it is found damaged, with its lock held.
void OnAbort(int signal) {
  if (t_call == nullptr || t_call->crash == nullptr) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    return;
  }
  std::signal(signal, OnAbort);  // Delivery may have reset it.
  t_call->landing.JumpBack();
}

class GuardScope {
 public:
  explicit GuardScope(GuardedCall& call) : _previous(_set_se_translator(TranslateCrash)) {
    static const auto previousHandler = std::signal(SIGABRT, OnAbort);
    static_cast<void>(previousHandler);
    t_call = &call;
  }
  ~GuardScope() {
    const bool hasCrashed = t_call->crash != nullptr;
    t_call = nullptr;
    _set_se_translator(_previous);
    // One of its crashes may have been an overflow, which has taken the stack's guard away.
    if (hasCrashed) _resetstkoflw();
  }
  GuardScope(const GuardScope&) = delete;
  GuardScope& operator=(const GuardScope&) = delete;

 private:
  SeTranslator _previous;
};

}  // namespace

void GuardComponentCall(void (*call)(void*), void* argument) {
  GuardedCall guarded;
  const GuardScope scope(guarded);
  if (guarded.landing.Call(call, argument)) return;
  ThrowStructuredException(guarded.crash->ExceptionRecord->ExceptionCode, guarded.crash);
}

}  // namespace Tagwright
