/// Locks on single bytes of a file, which processes that share the file see from one another.
///
/// A lock belongs to the open file description: every thread of the process has it, taking it again
/// succeeds, and the system gives it back when the last descriptor is closed, so at the latest at
/// the end of the process. A byte need not exist to be locked.
#pragma once

#include <sys/types.h>

namespace platform {

enum class ByteLock { kShared, kExclusive };

/// False with errno EAGAIN when another open file has a lock that excludes this one. A lock that
/// this file has on the byte is converted.
bool TryLockByte(int file, off_t at, ByteLock kind);
/// Blocks until the lock is there; nothing but a failure of the system ends it before. False then.
bool LockByte(int file, off_t at, ByteLock kind);
/// Closing the file unlocks too, but a child that is being started may share the descriptor for a
/// moment and would keep the lock.
void UnlockByte(int file, off_t at);
void UnlockAllBytes(int file);

/// Whether another open file has the byte locked exclusively. It takes the right to read alone,
/// with which others can take shared locks; those do not count.
bool IsByteLockedElsewhere(int file, off_t at);

}  // namespace platform
