#include "platform/posix/kernel/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>

namespace platform {

static_assert(sizeof(FutexWord) == sizeof(std::uint32_t));

Deadline::Deadline(DWORD timeoutMs) : _never(timeoutMs == INFINITE) {
  const auto when =
      std::chrono::steady_clock::now().time_since_epoch() + std::chrono::milliseconds(timeoutMs);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(when);
  _when = {seconds.count(), std::chrono::nanoseconds(when - seconds).count()};
}

bool FutexWait(FutexWord& word, std::uint32_t value, const Deadline& deadline) {
  // The bitset form takes an absolute time.
  const long result = syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, value, deadline.When(),
                              nullptr, FUTEX_BITSET_MATCH_ANY);
  return result == 0 || errno != ETIMEDOUT;
}

void FutexWake(FutexWord& word) {
  syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace platform
