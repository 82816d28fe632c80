#include "support/thread_end.h"

ThreadEnd AwaitThreads(std::span<const HANDLE> threads, DWORD timeoutMs) {
  const auto count = static_cast<DWORD>(threads.size());
  const DWORD result = WaitForMultipleObjects(count, threads.data(), TRUE, timeoutMs);
  if (result == WAIT_FAILED) return ThreadEnd::kFailed;
  if (result == WAIT_TIMEOUT) return ThreadEnd::kTimedOut;
  return result < WAIT_ABANDONED_0 ? ThreadEnd::kEnded : ThreadEnd::kAbandoned;
}
