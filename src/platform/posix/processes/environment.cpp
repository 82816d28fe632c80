#include "platform/posix/processes/environment.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/posix/api/errors.h"
#include "platform/posix/api/processes.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/text.h"

using platform::Fail;
using platform::KernelScope;

namespace platform {
namespace {

std::mutex& Lock() {
  static auto* const lock = new std::mutex;  // Used until the very end of the process.
  return *lock;
}

}  // namespace

EnvironmentLock::EnvironmentLock() : _guard(Lock()) {}

}  // namespace platform

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD sizeChars) {
  KernelScope scope;
  std::u16string value;
  {
    platform::EnvironmentLock lock;
    const char* text = std::getenv(platform::ToUtf8(name).c_str());
    if (text == nullptr) return static_cast<DWORD>(Fail(ERROR_ENVVAR_NOT_FOUND));
    value = platform::ToUtf16(text);
  }
  const auto length = static_cast<DWORD>(value.size());
  if (buffer == nullptr || sizeChars <= length) return length + 1;
  std::copy_n(value.c_str(), length + 1, buffer);
  SetLastError(ERROR_SUCCESS);  // Tells an empty value from a failure.
  return length;
}

BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value) {
  KernelScope scope;
  const std::string variable = platform::ToUtf8(name);
  platform::EnvironmentLock lock;
  const int result = value == nullptr
                         ? unsetenv(variable.c_str())
                         : setenv(variable.c_str(), platform::ToUtf8(value).c_str(), 1);
  return result == 0 ? TRUE : platform::FailWithErrno();
}
