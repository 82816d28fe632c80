/// Threads of the layer's own, which the program never sees.
#pragma once

#include <functional>

namespace platform {

/// Runs `work` on a new detached thread with all signals blocked but the one of thread_capture.h.
void RunInBackground(std::function<void()> work);

}  // namespace platform
