#include "platform/posix/kernel/blocking_io.h"

#include <poll.h>
#include <sys/syscall.h>

#include <cerrno>
#include <mutex>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/wakeable_call.h"

namespace platform {

int PendingIoList::EndAll(DWORD error) {
  const std::lock_guard lock(_lock);
  int ended = 0;
  for (PendingIo* operation = _first; operation != nullptr; operation = operation->_next) {
    if (operation->_endedWith != 0) continue;
    operation->_endedWith = error;
    // The thread cannot be gone: it leaves the list first, which takes the lock.
    WakeFromCall(operation->_thread);
    ++ended;
  }
  return ended;
}

void PendingIoList::WakeAll() {
  const std::lock_guard lock(_lock);
  for (PendingIo* operation = _first; operation != nullptr; operation = operation->_next) {
    WakeFromCall(operation->_thread);
  }
}

PendingIo::PendingIo(PendingIoList& list) : _list(list), _thread(pthread_self()) {
  BecomeWakeable();  // EndAll may wake it as soon as it is on the list.
  const std::lock_guard lock(_list._lock);
  _next = _list._first;
  if (_next != nullptr) _next->_previous = this;
  _list._first = this;
}

PendingIo::~PendingIo() {
  const std::lock_guard lock(_list._lock);
  (_previous != nullptr ? _previous->_next : _list._first) = _next;
  if (_next != nullptr) _next->_previous = _previous;
}

DWORD PendingIo::EndedWith() const {
  return IsTerminationPending() ? ERROR_OPERATION_ABORTED : _endedWith.load();
}

DWORD PendingIo::WaitFor(int fd, short events) {
  if (const DWORD error = EndedWith()) return error;
  constexpr long kForever = -1;
  pollfd descriptor{fd, events, 0};
  CallUntilWoken(SYS_poll, reinterpret_cast<long>(&descriptor), 1, kForever);
  return EndedWith();
}

ssize_t PendingIo::Receive(int socket, void* buffer, std::size_t size, DWORD& ended) {
  for (;;) {
    ended = EndedWith();
    if (ended != 0) return -EINTR;
    const long result = CallUntilWoken(SYS_recvfrom, socket, reinterpret_cast<long>(buffer),
                                       static_cast<long>(size));
    if (result != -EINTR) return result;
  }
}

}  // namespace platform
