/// The signals that the layer takes for itself.
#pragma once

#include <signal.h>

namespace platform {

// Above the first real-time signals, which libraries like to take for themselves.

/// Makes a thread look whether it is to be terminated (see kernel_scope.h).
inline int TerminationSignal() { return SIGRTMIN + 9; }

/// Makes a thread write down its registers and stand still (see thread_capture.h). A thread that
/// blocks it is not captured.
inline int CaptureSignal() { return SIGRTMIN + 10; }

/// Says that the time after a close or shutdown event is over (see console.h).
inline int ClosingTimerSignal() { return SIGRTMIN + 11; }

/// Ends a system call of a thread (see wakeable_call.h). A standard signal, because sending one
/// cannot fail for want of room in a queue; this one is ignored by default, and nothing here
/// receives the urgent data that it is meant for.
constexpr int kWakeSignal = SIGURG;

using SignalHandler = void (*)(int signal, siginfo_t* info, void* registers);

/// Installs a handler for the process; what was there goes to `before`, if that is given. It runs
/// on the thread's alternate stack where there is one, and calls that it interrupts go on. `flags`
/// are more of sigaction's.
void HandleSignal(int signal, SignalHandler handler, int flags = 0,
                  struct sigaction* before = nullptr);

}  // namespace platform
