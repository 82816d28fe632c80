#include "platform/posix/synchronization/mutex.h"

#include <memory>
#include <string_view>
#include <utility>

#include "platform/posix/api/synchronization.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/thread.h"
#include "platform/posix/synchronization/named_mutex.h"
#include "platform/posix/system/security.h"

using platform::Fail;
using platform::KernelScope;
using platform::Mutex;
using platform::NamedMutex;

namespace platform {

bool Mutex::IsSignalled(const Thread& waiter) { return _owner == nullptr || _owner == &waiter; }

bool Mutex::Consume(Thread& waiter) {
  if (_recursion++ == 0) {
    _owner = &waiter;
    waiter.AddOwned(std::static_pointer_cast<Waitable>(shared_from_this()));
  }
  return std::exchange(_isAbandoned, false);
}

void Mutex::OnOwnerEnded(const Thread&) {
  _owner = nullptr;
  _recursion = 0;
  OnFree(true);
}

bool Mutex::Release() {
  Thread& self = Thread::Current();
  std::lock_guard lock(EngineLock());
  if (_owner != &self) return false;
  if (--_recursion > 0) return true;
  _owner = nullptr;
  self.RemoveOwned(this);
  OnFree(false);
  return true;
}

void Mutex::OnFree(bool isAbandoned) {
  _isAbandoned = isAbandoned;
  SignalWaiters();
}

}  // namespace platform

namespace {

/// The name without the session it is asked for in: every process here is in one.
std::u16string_view WithoutNamespace(std::u16string_view name) {
  for (const std::u16string_view prefix : {u"Local\\", u"Global\\"}) {
    if (name.starts_with(prefix)) return name.substr(prefix.size());
  }
  return name;
}

std::shared_ptr<Mutex> NewUnnamed(bool initialOwner) {
  auto mutex = std::make_shared<Mutex>();
  if (initialOwner) {
    std::lock_guard lock(platform::EngineLock());
    mutex->Consume(platform::Thread::Current());
  }
  return mutex;
}

DWORD OpenNamed(std::u16string_view name, bool isForEveryone, bool initialOwner,
                NamedMutex::Opening& opening) {
  if (name.size() > MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
  if (name.empty()) return ERROR_INVALID_NAME;
  if (name.find(u'\\') != name.npos) return ERROR_PATH_NOT_FOUND;
  return NamedMutex::Open(platform::ToUtf8(name), isForEveryone, initialOwner, opening);
}

}  // namespace

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) {
  const KernelScope scope;
  std::shared_ptr<Mutex> mutex;
  DWORD error = ERROR_SUCCESS;
  if (name == nullptr || *name == 0) {
    mutex = NewUnnamed(initialOwner != FALSE);
  } else {
    NamedMutex::Opening opening;
    error = OpenNamed(WithoutNamespace(name), platform::GrantsEveryone(attributes),
                      initialOwner != FALSE, opening);
    if (opening.wasThere) error = ERROR_ALREADY_EXISTS;
    mutex = std::move(opening.mutex);
  }
  const HANDLE handle = mutex ? platform::InsertHandle(std::move(mutex)) : nullptr;
  SetLastError(error);
  return handle;
}

BOOL ReleaseMutex(HANDLE mutex) {
  const KernelScope scope;
  const auto target = platform::Lookup<Mutex>(mutex);
  if (!target) return FALSE;
  return target->Release() ? TRUE : Fail(ERROR_NOT_OWNER);
}
