#include "bench/driven_process.h"

#include <optional>
#include <stdexcept>
#include <string>

#include "platform/find_process.h"

namespace Bench {
namespace {

/// Only a fault reaches it.
constexpr DWORD kBoundMs = 60000;
constexpr DWORD kLookAgainMs = 2;

/// The exit code of what is ended by force.
constexpr UINT kEndedExitCode = 1;

Tagwright::WideString OwnPath() {
  WCHAR path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return path;
}

}  // namespace

void Await(const char* what, const std::function<bool()>& condition) {
  const ULONGLONG start = GetTickCount64();
  while (!condition()) {
    if (GetTickCount64() - start > kBoundMs) throw std::runtime_error(what);
    Sleep(kLookAgainMs);
  }
}

DrivenProcess::DrivenProcess(Tagwright::ServerKind kind) : _name(Tagwright::FreshPipeName()) {
  StartDriver(kind);
  std::optional<PROCESSENTRY32W> child;
  Await("the driver did not start tagwright", [&] {
    child = FindProcess([&](const auto& entry) { return entry.th32ParentProcessID == _driverId; });
    return child.has_value();
  });
  _tagwright =
      ScopedHandle(OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, child->th32ProcessID));
}

DrivenProcess::~DrivenProcess() {
  TerminateProcess(_driver.Get(), kEndedExitCode);
  if (_tagwright.IsValid()) TerminateProcess(_tagwright.Get(), kEndedExitCode);
}

void DrivenProcess::StartDriver(Tagwright::ServerKind kind) {
  const Tagwright::WideString program = OwnPath();
  Tagwright::WideString commandLine = TEXT("\"") + program + TEXT("\" --play-driver ") + _name;
  if (kind == Tagwright::ServerKind::kController) commandLine += TEXT(" --control");
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION started = {};
  if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &startup, &started)) {
    throw std::runtime_error("cannot start the driver");
  }
  CloseHandle(started.hThread);
  _driver = ScopedHandle(started.hProcess);
  _driverId = started.dwProcessId;
}

Microseconds DrivenProcess::TimeToEndAfterDriver() {
  const auto start = std::chrono::steady_clock::now();
  TerminateProcess(_driver.Get(), kEndedExitCode);
  if (WaitForSingleObject(_tagwright.Get(), kBoundMs) != WAIT_OBJECT_0) {
    throw std::runtime_error("tagwright did not end after its driver");
  }
  return std::chrono::steady_clock::now() - start;
}

}  // namespace Bench
