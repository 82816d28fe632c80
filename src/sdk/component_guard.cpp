#include "sdk/component_guard.h"

#include <exception>
#include <mutex>

#include "platform/landing.h"
#include "platform/se_translator.h"
#include "support/oexception.h"

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

std::terminate_handler g_previousTerminate = nullptr;

/// The runtime ends a crash here whose exception cannot get out.
void OnTerminate() {
  if (t_call != nullptr && t_call->crash != nullptr) t_call->landing.JumpBack();
  g_previousTerminate();
}

void InstallTerminateHandler() {
  static std::once_flag installed;
  std::call_once(installed, [] { g_previousTerminate = std::set_terminate(OnTerminate); });
}

class GuardScope {
 public:
  explicit GuardScope(GuardedCall& call) : _previous(_set_se_translator(TranslateCrash)) {
    InstallTerminateHandler();
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
