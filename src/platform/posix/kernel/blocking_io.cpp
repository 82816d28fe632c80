#include "platform/posix/kernel/blocking_io.h"

#include <poll.h>
#include <signal.h>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/kernel_scope.h"

namespace platform {
namespace {

// A standard signal, because sending one cannot fail for want of room in a queue; this one is
// ignored by default, and nothing here receives the urgent data that it is meant for.
constexpr int kWakeSignal = SIGURG;

/// The calling thread's signal mask during a sleep. The first call blocks the wake signal outside
/// of sleeps.
const sigset_t& MaskWhileAsleep() {
  thread_local constinit bool isPrepared = false;
  thread_local sigset_t mask;
  if (isPrepared) return mask;
  static const bool isHandled = [] {
    struct sigaction action {};
    action.sa_handler = [](int) {};  // Being interrupted is all that the sleep needs.
    action.sa_flags = SA_RESTART | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    return sigaction(kWakeSignal, &action, nullptr) == 0;
  }();
  (void)isHandled;
  sigset_t wakeSignal;
  sigemptyset(&wakeSignal);
  sigaddset(&wakeSignal, kWakeSignal);
  pthread_sigmask(SIG_BLOCK, &wakeSignal, &mask);
  sigdelset(&mask, kWakeSignal);
  isPrepared = true;
  return mask;
}

}  // namespace

int PendingIoList::EndAll(DWORD error) {
  const std::lock_guard lock(_lock);
  int ended = 0;
  for (PendingIo* operation = _first; operation != nullptr; operation = operation->_next) {
    if (operation->_endedWith != 0) continue;
    operation->_endedWith = error;
    // The thread cannot be gone: it leaves the list first, which takes the lock.
    WakeFromBlockingIo(operation->_thread);
    ++ended;
  }
  return ended;
}

void PendingIoList::WakeAll() {
  const std::lock_guard lock(_lock);
  for (PendingIo* operation = _first; operation != nullptr; operation = operation->_next) {
    WakeFromBlockingIo(operation->_thread);
  }
}

PendingIo::PendingIo(PendingIoList& list) : _list(list), _thread(pthread_self()) {
  MaskWhileAsleep();
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

DWORD PendingIo::EndedWith() {
  if (IsTerminationPending()) return ERROR_OPERATION_ABORTED;
  const std::lock_guard lock(_list._lock);
  return _endedWith;
}

DWORD PendingIo::WaitFor(int fd, short events) {
  if (const DWORD error = EndedWith()) return error;
  pollfd descriptor{fd, events, 0};
  ppoll(&descriptor, 1, nullptr, &MaskWhileAsleep());
  return EndedWith();
}

void WakeFromBlockingIo(pthread_t thread) { pthread_kill(thread, kWakeSignal); }

}  // namespace platform
