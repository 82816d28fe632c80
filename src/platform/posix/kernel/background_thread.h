/// Threads of the layer's own, which the program never sees.
#pragma once

#include <functional>

namespace platform {

/// Runs `work` on a new detached thread with all signals blocked.
void RunInBackground(std::function<void()> work);

}  // namespace platform
