/// The layer's own promise: a thread that is terminated in the middle of a write leaves the
/// registry usable. On Windows such a thread may leave a lock of its libraries held for ever.
#include <gtest/gtest.h>

#include "common/scratch_key.h"
#include "common/test_thread.h"

namespace {

LSTATUS Set(HKEY key, LPCWSTR name, BYTE value) {
  return RegSetValueExW(key, name, 0, REG_BINARY, &value, sizeof(value));
}

TEST(RegistryTermination, LeavesTheRegistryUsable) {
  ScratchKey scratch;
  const HKEY key = scratch.Create(TEXT("T"));
  const HANDLE written = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  for (int round = 0; round < 10; ++round) {
    TestThread writer([&]() -> unsigned {
      for (BYTE value = 0;; ++value) {
        Set(key, TEXT("V"), value);
        SetEvent(written);
      }
    });
    ASSERT_EQ(WaitForSingleObject(written, TestThread::kBoundMs), WAIT_OBJECT_0);
    TerminateThread(writer.Handle(), 260);
    ASSERT_EQ(Set(key, TEXT("Other"), 1), ERROR_SUCCESS);
  }
  CloseHandle(written);
}

}  // namespace
