/// The time limits that drivers are told of, in docs/lifetime.md.
#pragma once

#include "platform/windows_api.h"

/// How long a pipe, the first one or an encoder's, waits for its client to connect.
constexpr DWORD kConnectionTimeoutMs = 5000;

/// How long the thread of a single pipe may take to end.
constexpr DWORD kMaxShutdownTimeMs = 5000;

/// How long the threads of the encoder pipes may take to end, and everything together when all
/// pipes are shut down.
constexpr DWORD kMaxPipesEndMs = 15000;
