#include "platform/posix/pipes/stream.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"

namespace platform {
namespace {

// A buffer that is just being freed still counts for one byte when the system announces it, and no
// later announcement follows. A buffer that waits to be read counts with its overhead of some
// hundred bytes, so a smaller sum means that everything has been read.
constexpr int kSmallestUnreadBuffer = 64;

bool IsTransient(int error) { return error == EAGAIN || error == EINTR; }

DWORD ReadError(int error) {
  return error == ECONNRESET ? ERROR_BROKEN_PIPE : ErrorFromErrno(error);
}

DWORD WriteError(int error) {
  return error == EPIPE || error == ECONNRESET ? ERROR_NO_DATA : ErrorFromErrno(error);
}

// After an EAGAIN; an interrupted call is simply repeated.
DWORD WaitIfFull(PendingIo& pending, int fd, int error, short events) {
  return error == EAGAIN ? pending.WaitFor(fd, events) : 0;
}

}  // namespace

DWORD PipeStream::Read(PendingIo& pending, void* buffer, DWORD size, DWORD& done) {
  if (size == 0) return 0;
  for (;;) {
    const ssize_t count = recv(_socket.Get(), buffer, size, MSG_DONTWAIT);
    if (count == 0) return ERROR_BROKEN_PIPE;
    if (count > 0) {
      done = static_cast<DWORD>(count);
      return 0;
    }
    const int error = errno;
    if (!IsTransient(error)) return ReadError(error);
    if (const DWORD ended = WaitIfFull(pending, _socket.Get(), error, POLLIN)) return ended;
  }
}

DWORD PipeStream::Write(PendingIo& pending, const void* buffer, DWORD size, DWORD& done) {
  const char* const bytes = static_cast<const char*>(buffer);
  DWORD sent = 0;
  while (sent < size) {
    const ssize_t count =
        send(_socket.Get(), bytes + sent, size - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count >= 0) {
      sent += static_cast<DWORD>(count);
      continue;
    }
    const int error = errno;
    if (!IsTransient(error)) return WriteError(error);
    if (const DWORD ended = WaitIfFull(pending, _socket.Get(), error, POLLOUT)) return ended;
  }
  done = sent;
  return 0;
}

DWORD PipeStream::Flush(PendingIo& pending) {
  return HasUnreadOutput() ? WaitUntilRead(pending) : 0;
}

DWORD PipeStream::WaitUntilRead(PendingIo& pending) {
  // Edge-triggered, because a socket is writable long before its peer has read everything: each
  // buffer that the peer frees is an edge of its own.
  const UniqueFd progress(epoll_create1(EPOLL_CLOEXEC));
  epoll_event interest{};
  interest.events = EPOLLOUT | EPOLLET;
  if (!progress || epoll_ctl(progress.Get(), EPOLL_CTL_ADD, _socket.Get(), &interest) != 0) {
    return ErrorFromErrno(errno);
  }
  while (HasUnreadOutput()) {
    if (const DWORD ended = pending.WaitFor(progress.Get(), POLLIN)) return ended;
    epoll_event event{};
    epoll_wait(progress.Get(), &event, 1, 0);
    if ((event.events & EPOLLHUP) != 0 && HasUnreadOutput()) return ERROR_BROKEN_PIPE;
  }
  // A peer that closes with data unread leaves an error behind; one that has read all does not.
  int error = 0;
  socklen_t errorSize = sizeof error;
  getsockopt(_socket.Get(), SOL_SOCKET, SO_ERROR, &error, &errorSize);
  return error == 0 ? 0 : ERROR_BROKEN_PIPE;
}

bool PipeStream::PeerHasGone() const {
  pollfd state{_socket.Get(), 0, 0};
  return poll(&state, 1, 0) == 1 && (state.revents & POLLHUP) != 0;
}

void PipeStream::Shut() { shutdown(_socket.Get(), SHUT_RDWR); }

bool PipeStream::HasUnreadOutput() const {
  int unread = 0;
  return ioctl(_socket.Get(), SIOCOUTQ, &unread) == 0 && unread >= kSmallestUnreadBuffer;
}

}  // namespace platform
