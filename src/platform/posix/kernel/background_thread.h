/// Threads of the layer's own. The program never sees them, and nothing terminates them.
#pragma once

#include <functional>

namespace platform {

/// Runs `work` on a new detached thread, on which every signal but CaptureSignal is blocked. Throws
/// std::system_error when no thread can be started.
void RunInBackground(std::function<void()> work);

}  // namespace platform
