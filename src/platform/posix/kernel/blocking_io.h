/// Blocking on a file descriptor so that another thread can end it.
///
/// A blocked thread sleeps in one system call, which its descriptor's readiness ends, or a wake-up
/// (wakeable_call.h). Who ends an operation writes down why and then wakes the thread, which looks
/// before each sleep: no wake-up is lost, and neither a descriptor nor a system call is spent on
/// one that never comes.
#pragma once

#include <pthread.h>

#include <atomic>

#include "platform/posix/api/base.h"
#include "platform/posix/kernel/short_lock.h"

namespace platform {

class PendingIo;

/// The operations of one kind that are pending on one object (a pipe end). Any thread may call it.
class PendingIoList {
 public:
  /// Ends every operation that has not been ended yet; each then reports `error`, which is not 0.
  /// Returns how many there were.
  int EndAll(DWORD error);
  /// Makes every operation look again.
  void WakeAll();

 private:
  friend class PendingIo;
  ShortLock _lock;
  PendingIo* _first = nullptr;  // Guarded by the lock, like the operations' links.
};

/// One blocking operation of the calling thread; construct it inside a KernelScope, before the
/// first check of the condition, and it cannot miss an EndAll.
class PendingIo {
 public:
  explicit PendingIo(PendingIoList& list);
  ~PendingIo();
  PendingIo(const PendingIo&) = delete;
  PendingIo& operator=(const PendingIo&) = delete;

  /// Sleeps until `fd` has one of the poll `events` (or an error or hang-up), somebody wakes the
  /// operation, or it is ended. 0 when the caller is to look again, else the error given to EndAll,
  /// or ERROR_OPERATION_ABORTED when the thread is to be terminated. `fd` -1 waits for others
  /// alone.
  DWORD WaitFor(int fd, short events);

  /// Receives like recv, sleeping until there is something. The number of bytes or a negative
  /// errno value; when the operation is ended, that is in `ended`.
  ssize_t Receive(int socket, void* buffer, std::size_t size, DWORD& ended);

 private:
  friend class PendingIoList;
  DWORD EndedWith() const;

  PendingIoList& _list;
  const pthread_t _thread;
  PendingIo* _previous = nullptr;
  PendingIo* _next;
  std::atomic<DWORD> _endedWith{0};  // Written with the list's lock held.
};

}  // namespace platform
