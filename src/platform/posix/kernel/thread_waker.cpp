#include "platform/posix/kernel/thread_waker.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

constexpr long kNanosecondsPerMillisecond = 1'000'000;
constexpr long kNanosecondsPerSecond = 1'000'000'000;

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

}  // namespace

Deadline::Deadline(DWORD timeoutMs) : _never(timeoutMs == INFINITE) {
  if (_never) return;
  clock_gettime(CLOCK_MONOTONIC, &_when);
  _when.tv_sec += timeoutMs / 1000;
  _when.tv_nsec += (timeoutMs % 1000) * kNanosecondsPerMillisecond;
  if (_when.tv_nsec >= kNanosecondsPerSecond) {
    _when.tv_nsec -= kNanosecondsPerSecond;
    ++_when.tv_sec;
  }
}

bool ThreadWaker::Sleep(std::uint32_t sequence, const Deadline& deadline) {
  // The bitset form takes an absolute time.
  const long result = syscall(SYS_futex, &_word, FUTEX_WAIT_BITSET_PRIVATE, sequence,
                              deadline.When(), nullptr, FUTEX_BITSET_MATCH_ANY);
  return !(result == -1 && errno == ETIMEDOUT);
}

void ThreadWaker::Wake() {
  _word.fetch_add(1);
  syscall(SYS_futex, &_word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

}  // namespace platform
