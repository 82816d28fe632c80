#include "platform/posix/kernel/blocking_io.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/thread.h"

namespace platform {

int PendingIoList::EndAll(DWORD error) {
  std::lock_guard lock(_lock);
  int ended = 0;
  for (PendingIo* operation : _operations) {
    if (operation->_endedWith != 0) continue;
    operation->_endedWith = error;
    eventfd_write(operation->_wakeFd, 1);
    ++ended;
  }
  return ended;
}

PendingIo::PendingIo(PendingIoList& list) : _list(list), _wakeFd(Thread::Current().WakeFd()) {
  eventfd_t leftover = 0;  // Of an operation that was ended when it no longer slept.
  eventfd_read(_wakeFd, &leftover);
  std::lock_guard lock(_list._lock);
  _list._operations.push_back(this);
}

PendingIo::~PendingIo() {
  std::lock_guard lock(_list._lock);
  _list._operations.remove(this);
}

DWORD PendingIo::EndedWith() {
  if (IsTerminationPending()) return ERROR_OPERATION_ABORTED;
  std::lock_guard lock(_list._lock);
  return _endedWith;
}

DWORD PendingIo::WaitFor(int fd, short events) {
  if (_wakeFd < 0) return ERROR_TOO_MANY_OPEN_FILES;
  for (;;) {
    if (const DWORD error = EndedWith(); error != 0) return error;
    pollfd descriptors[] = {{fd, events, 0}, {_wakeFd, POLLIN, 0}};
    const int ready = poll(descriptors, 2, -1);
    if (ready > 0 && descriptors[0].revents != 0) return EndedWith();
  }
}

}  // namespace platform
