/// CreateProcessW.
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/posix/api/processes.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/program_path.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/processes/command_line.h"
#include "platform/posix/processes/process.h"

using platform::Fail;
using platform::KernelScope;

namespace {

/// A child starts as a program of this system expects to: no signal blocked, none handled or
/// ignored.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    posix_spawnattr_init(&_attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&_attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&_attributes, &signals);
    posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&_attributes); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;
  const posix_spawnattr_t* Get() const { return &_attributes; }

 private:
  posix_spawnattr_t _attributes;
};

bool IsRunnable(const std::string& path) { return access(path.c_str(), X_OK) == 0; }

/// A bare name is looked for beside the program, then in the current folder, then along the PATH.
std::string FindProgram(const std::string& native) {
  if (native.find('/') != native.npos) return native;
  std::string beside = platform::BesideProgram(native);
  return IsRunnable(beside) ? beside : native;
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// 0 with errno set on failure.
pid_t Spawn(const std::string& program, std::vector<std::string>& arguments) {
  const SpawnAttributes attributes;
  pid_t pid = 0;
  errno = posix_spawnp(&pid, program.c_str(), nullptr, attributes.Get(), Pointers(arguments).data(),
                       environ);
  return errno == 0 ? pid : 0;
}

}  // namespace

BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine,
                    LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                    BOOL inheritHandles, DWORD creationFlags, LPVOID environment,
                    LPCWSTR currentDirectory, LPSTARTUPINFOW startupInfo,
                    LPPROCESS_INFORMATION processInformation) {
  KernelScope scope;
  const bool isProvided = processAttributes == nullptr && threadAttributes == nullptr &&
                          environment == nullptr && currentDirectory == nullptr &&
                          (creationFlags & ~CREATE_NO_WINDOW) == 0 &&
                          (applicationName != nullptr || commandLine != nullptr);
  if (!isProvided || processInformation == nullptr || startupInfo == nullptr ||
      startupInfo->dwFlags != 0) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  static_cast<void>(inheritHandles);  // No handle of the layer is ever inherited.

  const auto words =
      platform::SplitCommandLine(commandLine != nullptr ? commandLine : applicationName);
  std::string program;
  const LPCWSTR path = applicationName != nullptr ? applicationName : words.front().c_str();
  if (const DWORD error = platform::NativePathOf(path, program)) return Fail(error);
  std::vector<std::string> arguments;
  arguments.reserve(words.size());
  for (const auto& word : words) arguments.push_back(platform::ToUtf8(word));

  const pid_t pid = Spawn(FindProgram(program), arguments);
  if (pid == 0) return platform::FailWithErrno();
  const auto process = platform::Process::Open(pid, true);
  if (!process) return platform::FailWithErrno();
  processInformation->hProcess = platform::InsertHandle(process);
  processInformation->hThread = platform::InsertHandle(process);
  processInformation->dwProcessId = static_cast<DWORD>(pid);
  processInformation->dwThreadId = static_cast<DWORD>(pid);
  return TRUE;
}
