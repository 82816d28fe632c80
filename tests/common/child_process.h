/// A started program; it is killed with this object if it has not ended.
#pragma once

#include <gtest/gtest.h>

#include "common/widen.h"

class ChildProcess {
 public:
  /// Far longer than anything here takes; only a fault reaches it.
  static constexpr DWORD kLongMs = 60000;

  ChildProcess() = default;
  ~ChildProcess() {
    if (_process.hProcess == nullptr) return;
    Kill();
    CloseHandle(_process.hProcess);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void Start(std::basic_string<WCHAR> commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    ASSERT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &_process))
        << "error " << GetLastError();
    CloseHandle(_process.hThread);
  }

  HANDLE Handle() const { return _process.hProcess; }
  DWORD Id() const { return _process.dwProcessId; }

  /// Waits for its end.
  DWORD ExitCode() const {
    EXPECT_EQ(WaitForSingleObject(Handle(), kLongMs), WAIT_OBJECT_0);
    DWORD exitCode = 0;
    EXPECT_TRUE(GetExitCodeProcess(Handle(), &exitCode));
    return exitCode;
  }

  void Kill() {
    TerminateProcess(Handle(), 99);
    EXPECT_EQ(WaitForSingleObject(Handle(), kLongMs), WAIT_OBJECT_0);
  }

 protected:
  PROCESS_INFORMATION _process{};
};
