#include "platform/posix/system/tick_clock.h"

#include <dlfcn.h>

#include <algorithm>

namespace platform {
namespace {

/// How long the tick count may go on as if the system had not been asleep.
constexpr std::int64_t kSleepIsNoticedMs = 1000;

std::int64_t Milliseconds(std::int64_t seconds, std::int64_t nanoseconds) {
  return seconds * 1000 + nanoseconds / 1'000'000;
}

}  // namespace

constinit TickClock::Reader TickClock::s_read = clock_gettime;
constinit std::atomic<std::int64_t> TickClock::s_asleepMs{0};
constinit std::atomic<std::int64_t> TickClock::s_nextLookMs{0};

/// The kernel maps its function into each process as part of a library; the C library's calls it in
/// turn. Where there is none, as under a debugging tool that leaves it out, the C library's stays.
void TickClock::UseKernelsReader() {
  void* const library = dlopen("linux-vdso.so.1", RTLD_LAZY | RTLD_NOLOAD);
  if (library == nullptr) return;
  void* const reader = dlsym(library, "__vdso_clock_gettime");
  if (reader != nullptr) s_read = reinterpret_cast<Reader>(reader);
}

void TickClock::LookHowLongAsleep(std::int64_t awakeMs) {
  timespec all{}, awake{};
  clock_gettime(CLOCK_BOOTTIME, &all);
  clock_gettime(CLOCK_MONOTONIC, &awake);
  const std::int64_t asleepMs =
      Milliseconds(all.tv_sec - awake.tv_sec, all.tv_nsec - awake.tv_nsec);
  s_asleepMs = std::max(s_asleepMs.load(), asleepMs);
  s_nextLookMs = awakeMs + kSleepIsNoticedMs;
}

}  // namespace platform
