/// What the layer has to tidy up when the process ends.
#pragma once

namespace platform {

/// Has `tidyUp` called once when the process ends through ExitProcess or returns from its entry;
/// the last one registered is called first. It runs while other threads may still run, and must not
/// wait for them.
void AtProcessExit(void (*tidyUp)());

/// Calls and forgets everything registered.
void RunProcessExitHooks();

}  // namespace platform
