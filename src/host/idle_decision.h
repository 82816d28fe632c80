/// The main thread's last look before the process ends for idleness.
#pragma once

#include "platform/windows_api.h"
#include "support/osynchronizer.h"

/// Takes `shutdownMutex` (without time-out: another process that holds it is waited for) and looks
/// once more. With activity meanwhile: gives the mutex back and resets `idleEvent`. Without: stops
/// the pipe server and keeps the mutex until the process has ended.
void DecideIdleShutdown(OMutex& shutdownMutex, HANDLE idleEvent);
