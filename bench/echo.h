/// What 16 bytes there and back cost without tagwright: the baselines of its round trips.
#pragma once

#include <optional>

#include "bench/timings.h"

namespace Bench {

/// As many bytes as a request without payload and its reply have.
constexpr int kEchoBytes = 16;

/// Over a named pipe between two threads of this process.
Timings PipeEcho(int repetitions);

/// Over the system's own stream sockets, past the layer that provides named pipes; nothing where
/// named pipes are the system's own.
std::optional<Timings> SocketEcho(int repetitions);

}  // namespace Bench
