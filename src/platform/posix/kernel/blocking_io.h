/// Blocking on a file descriptor so that another thread can end it.
#pragma once

#include <list>
#include <mutex>

#include "platform/posix/api/base.h"

namespace platform {

class PendingIo;

/// The operations that are blocked on one object (a pipe end). Any thread may call it.
class PendingIoList {
 public:
  /// Ends every operation that has not been ended yet; each then reports `error`, which is not 0.
  /// Returns how many there were.
  int EndAll(DWORD error);

 private:
  friend class PendingIo;
  std::mutex _lock;
  std::list<PendingIo*> _operations;
};

/// One blocking operation of the calling thread; construct it inside a KernelScope, before the
/// first check of the condition, and it cannot miss an EndAll.
class PendingIo {
 public:
  explicit PendingIo(PendingIoList& list);
  ~PendingIo();
  PendingIo(const PendingIo&) = delete;
  PendingIo& operator=(const PendingIo&) = delete;

  /// Sleeps until `fd` has one of the poll `events` (or an error or hang-up), or the operation was
  /// ended. 0 when the descriptor is ready, else the error given to EndAll, or
  /// ERROR_OPERATION_ABORTED when the thread is to be terminated. `fd` -1 waits for EndAll alone.
  DWORD WaitFor(int fd, short events);

 private:
  friend class PendingIoList;
  DWORD EndedWith();

  PendingIoList& _list;
  int _wakeFd;           // The calling thread's eventfd.
  DWORD _endedWith = 0;  // Guarded by the list's lock.
};

}  // namespace platform
