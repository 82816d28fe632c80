#include <memory>
#include <string>
#include <string_view>

#include "platform/posix/api/synchronization.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/thread.h"
#include "platform/posix/synchronization/mutex.h"
#include "platform/posix/synchronization/named_mutex.h"
#include "platform/posix/system/security.h"

using platform::Fail;
using platform::KernelScope;
using platform::Mutex;

namespace {

/// The name without the session it is asked for in: every process here is in one.
std::u16string_view WithoutNamespace(std::u16string_view name) {
  for (const std::u16string_view prefix : {u"Local\\", u"Global\\"}) {
    if (name.starts_with(prefix)) return name.substr(prefix.size());
  }
  return name;
}

HANDLE FailCreation(DWORD error) {
  SetLastError(error);
  return nullptr;
}

HANDLE CreateUnnamed(bool initialOwner) {
  const auto mutex = std::make_shared<Mutex>();
  if (initialOwner) {
    std::lock_guard lock(platform::EngineLock());
    mutex->Consume(platform::Thread::Current());
  }
  SetLastError(ERROR_SUCCESS);
  return platform::InsertHandle(mutex);
}

}  // namespace

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) {
  KernelScope scope;
  if (name == nullptr || *name == 0) return CreateUnnamed(initialOwner != FALSE);

  const std::u16string_view plainName = WithoutNamespace(name);
  if (plainName.size() > MAX_PATH) return FailCreation(ERROR_FILENAME_EXCED_RANGE);
  if (plainName.empty()) return FailCreation(ERROR_INVALID_NAME);
  if (plainName.find(u'\\') != plainName.npos) return FailCreation(ERROR_PATH_NOT_FOUND);
  platform::NamedMutex::Opening opening;
  const DWORD error =
      platform::NamedMutex::Open(platform::ToUtf8(plainName), platform::GrantsEveryone(attributes),
                                 initialOwner != FALSE, opening);
  if (error != 0) return FailCreation(error);
  const HANDLE handle = platform::InsertHandle(opening.mutex);
  SetLastError(opening.wasThere ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return handle;
}

BOOL ReleaseMutex(HANDLE mutex) {
  KernelScope scope;
  const auto target = platform::Lookup<Mutex>(mutex);
  if (!target) return FALSE;
  return target->Release() ? TRUE : Fail(ERROR_NOT_OWNER);
}
