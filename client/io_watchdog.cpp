#include "client/io_watchdog.h"

namespace Tagwright {
namespace {

/// Cancelling finds only calls that already block. A call that was about to begin is met by the
/// next attempt, this much later.
constexpr std::chrono::milliseconds kCancelAgainAfter{10};

}  // namespace

IoWatchdog::IoWatchdog(HANDLE file) : _file(file), _thread([this] { Watch(); }) {}

IoWatchdog::~IoWatchdog() {
  {
    const std::lock_guard lock(_mutex);
    _quit = true;
  }
  _wake.notify_one();
  _thread.join();
}

void IoWatchdog::Start(DWORD timeoutMs) {
  const std::lock_guard lock(_mutex);
  _deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  if (_idle) _wake.notify_one();
}

void IoWatchdog::Stop() {
  const std::lock_guard lock(_mutex);
  _deadline.reset();
}

void IoWatchdog::Watch() {
  std::unique_lock lock(_mutex);
  while (!_quit) WaitForWork(lock);
}

void IoWatchdog::WaitForWork(std::unique_lock<std::mutex>& lock) {
  if (!_deadline) {
    _idle = true;
    _wake.wait(lock);
    _idle = false;
  } else if (const Clock::time_point deadline = *_deadline; Clock::now() < deadline) {
    _wake.wait_until(lock, deadline);
  } else {
    // Under the lock, so that Stop cannot return and the next call begin before this is over.
    CancelIoEx(_file, nullptr);
    _wake.wait_for(lock, kCancelAgainAfter);
  }
}

}  // namespace Tagwright
