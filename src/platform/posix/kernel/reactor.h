/// One background thread of the layer that watches file descriptors: listening sockets of pipes,
/// pidfds of opened processes, the console's signals. It is started at first use and is none of the
/// program's own threads; it blocks all signals.
#pragma once

#include <cstdint>
#include <functional>

namespace platform {

/// Calls `onReady` on the reactor's thread each time `fd` has one of the poll/epoll `events`
/// (level-triggered). The callback must not block. Returns an id for StopWatching.
std::uint64_t WatchDescriptor(int fd, std::uint32_t events, std::function<void()> onReady);

/// When it returns, the callback is not running and will not run again, and what it captured has
/// been destroyed; called from the callback itself it only promises that this is the last run. Call
/// it before closing the descriptor.
void StopWatching(std::uint64_t watchId);

}  // namespace platform
