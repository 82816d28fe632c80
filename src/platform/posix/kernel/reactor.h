/// One background thread of the layer that watches file descriptors: listening sockets of pipes,
/// pidfds of opened processes. Started at first use; never part of the program's own threads. All
/// signals are blocked on it.
#pragma once

#include <cstdint>
#include <functional>

namespace platform {

/// Calls `onReady` on the reactor's thread each time `fd` has one of the poll/epoll `events`
/// (level-triggered). The callback must not block. Returns an id for StopWatching.
std::uint64_t WatchDescriptor(int fd, std::uint32_t events, std::function<void()> onReady);

/// After it has returned, the callback is not running and will not run again (when it is called
/// from the callback itself: will not run again). Call it before closing the descriptor.
void StopWatching(std::uint64_t watchId);

}  // namespace platform
