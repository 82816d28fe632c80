#include "client/server_process.h"

#include <random>
#include <vector>

namespace Tagwright {
namespace {

/// Longest path of the system, in characters, with its NUL.
constexpr DWORD kLongestPathChars = 32768;

/// How long to watch the new process before looking for its pipe again: far below what starting a
/// process takes, and no load.
constexpr DWORD kLookAgainMs = 2;

/// What a process that had to be ended reports.
constexpr UINT kEndedExitCode = 1;

WideString ThisProgram() {
  std::vector<WCHAR> path(kLongestPathChars);
  return WideString(path.data(), GetModuleFileNameW(nullptr, path.data(), kLongestPathChars));
}

WideString FileEnding(const WideString& path) {
  const std::size_t name = path.find_last_of(TEXT('\\')) + 1;
  const std::size_t dot = path.find_last_of(TEXT('.'));
  return dot == WideString::npos || dot < name ? WideString() : path.substr(dot);
}

WideString CommandLine(const WideString& program, const WideString& pipeName, ServerKind kind) {
  WideString line = TEXT("\"") + program + TEXT("\" /n \"") + pipeName + TEXT("\"");
  if (kind == ServerKind::kController) line += TEXT(" /c");
  return line;
}

}  // namespace

WideString ProgramBesideThis(const WideString& name) {
  const WideString self = ThisProgram();
  return self.substr(0, self.find_last_of(TEXT('\\')) + 1) + name + FileEnding(self);
}

WideString FreshPipeName() {
  std::random_device random;
  WideString name = TEXT("tagwright-");
  for (int digit = 0; digit < 32; ++digit) name += TEXT("0123456789abcdef")[random() % 16];
  return name;
}

ServerProcess::~ServerProcess() {
  if (_process.IsValid()) TerminateProcess(_process.Get(), kEndedExitCode);
}

bool ServerProcess::Start(const WideString& pipeName, ServerKind kind) {
  const WideString program = ProgramBesideThis(TEXT("tagwright"));
  WideString commandLine = CommandLine(program, pipeName, kind);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION started = {};
  if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                      CREATE_NO_WINDOW, nullptr, nullptr, &startup, &started)) {
    return false;
  }
  CloseHandle(started.hThread);
  _process = ScopedHandle(started.hProcess);
  _processId = started.dwProcessId;
  _pipeName = pipeName;
  return true;
}

std::optional<ClientError> ServerProcess::Connect(Client& client, DWORD timeoutMs) {
  const ULONGLONG start = GetTickCount64();
  for (;;) {
    const std::optional<ClientError> error = client.Connect(_pipeName);
    if (!error || error->kind != ClientErrorKind::kPipeMissing) return error;
    if (WaitForExit(kLookAgainMs)) return ClientError{ClientErrorKind::kServerGone, ERROR_SUCCESS};
    if (GetTickCount64() - start >= timeoutMs) {
      return ClientError{ClientErrorKind::kTimeout, ERROR_SUCCESS};
    }
  }
}

std::optional<DWORD> ServerProcess::WaitForExit(DWORD timeoutMs) {
  DWORD exitCode = 0;
  if (WaitForSingleObject(_process.Get(), timeoutMs) != WAIT_OBJECT_0 ||
      !GetExitCodeProcess(_process.Get(), &exitCode)) {
    return std::nullopt;
  }
  return exitCode;
}

}  // namespace Tagwright
