/// A system call that another thread's wake-up reliably ends.
///
/// The wake-up is a signal. Between the last look at a flag and the system call it would come too
/// early to interrupt the call and too late for the look; so its handler looks where it has
/// interrupted the thread, and leads it past a call that it was about to make (or that the kernel
/// was about to restart). Written for x86-64, like the rest of what knows registers.
#pragma once

#include <pthread.h>

namespace platform {

/// Makes the calling thread one that WakeFromCall can wake. Call it before others learn of the
/// thread: until then the system discards the wake-up.
void BecomeWakeable();

/// Makes the system call `number` and returns the kernel's answer, a negative errno value on
/// failure; -EINTR at once when the thread has been woken since its last such call. The thread is
/// wakeable, and looks before each call at what a wake-up stands for. Not for calls that do half of
/// their work.
long CallUntilWoken(long number, long first, long second = 0, long third = 0, long fourth = 0);

/// Ends the present CallUntilWoken of `thread`, or its next one. Harmless for any other thread,
/// whose system calls are restarted.
void WakeFromCall(pthread_t thread);

}  // namespace platform
