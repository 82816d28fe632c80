#include <memory>
#include <mutex>

#include "platform/posix/api/synchronization.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/wait_engine.h"

using platform::KernelScope;

namespace {

class Event final : public platform::Waitable {
 public:
  Event(bool isManualReset, bool isSet) : _isManualReset(isManualReset), _isSet(isSet) {}

  void Set() {
    std::lock_guard lock(platform::EngineLock());
    _isSet = true;
    SignalWaiters();
  }

  void Reset() {
    std::lock_guard lock(platform::EngineLock());
    _isSet = false;
  }

  bool IsSignalled(const platform::Thread&) override { return _isSet; }

  bool Consume(platform::Thread&) override {
    _isSet = _isManualReset;
    return false;
  }

 private:
  const bool _isManualReset;
  bool _isSet;
};

}  // namespace

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initialState, LPCWSTR name) {
  KernelScope scope;
  if (name != nullptr && *name != 0) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  SetLastError(ERROR_SUCCESS);
  return platform::InsertHandle(std::make_shared<Event>(manualReset != 0, initialState != 0));
}

BOOL SetEvent(HANDLE event) {
  KernelScope scope;
  const auto target = platform::Lookup<Event>(event);
  if (!target) return FALSE;
  target->Set();
  return TRUE;
}

BOOL ResetEvent(HANDLE event) {
  KernelScope scope;
  const auto target = platform::Lookup<Event>(event);
  if (!target) return FALSE;
  target->Reset();
  return TRUE;
}
