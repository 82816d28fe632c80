/// A thread of the program's kind with any body, for tests that watch it by its handle.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "platform/windows_api.h"

class TestThread {
 public:
  static constexpr DWORD kBoundMs = 60000;

  explicit TestThread(std::function<unsigned()> body, unsigned stackBytes = 0)
      : _body(std::make_unique<std::function<unsigned()>>(std::move(body))),
        _handle(reinterpret_cast<HANDLE>(
            _beginthreadex(nullptr, stackBytes, Run, _body.get(), 0, nullptr))) {}
  /// Waits for the body's end; a body that does not end fails the test and is terminated. (Not at
  /// once: a thread terminated on its way out may hold locks of the process for good.)
  ~TestThread() {
    if (WaitForSingleObject(_handle, kBoundMs) != WAIT_OBJECT_0) {
      ADD_FAILURE() << "a thread did not end";
      TerminateThread(_handle, 0);
    }
    CloseHandle(_handle);
  }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;

  HANDLE Handle() const { return _handle; }

  void Join() { EXPECT_EQ(WaitForSingleObject(_handle, kBoundMs), WAIT_OBJECT_0); }

  /// What GetExitCodeThread says now.
  DWORD ExitCode() const {
    DWORD exitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(_handle, &exitCode));
    return exitCode;
  }

 private:
  static unsigned __stdcall Run(void* body) {
    return (*static_cast<std::function<unsigned()>*>(body))();
  }

  std::unique_ptr<std::function<unsigned()>> _body;
  HANDLE _handle;
};
