/// The managed runtime of this process.
#pragma once

#include "managed/host/managed_call.h"

namespace Managed {

/// Starts the runtime at the first call, on a thread of its own that stays, and returns the way
/// into it. Throws std::runtime_error when it cannot be started, and at every further call then: a
/// runtime is started once. What becomes of the process's signal handlers is told by
/// SignalHandlers.
RunManaged StartedRuntime();

}  // namespace Managed
