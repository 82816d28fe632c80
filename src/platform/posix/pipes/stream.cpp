#include "platform/posix/pipes/stream.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/descriptor_event.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/sizes.h"

namespace platform {
namespace {

// A buffer that is just being freed still counts for one byte when the system announces it, and no
// later announcement follows. A buffer that waits to be read counts with its overhead of some
// hundred bytes, so a smaller sum means that everything has been read.
constexpr int kSmallestUnreadBuffer = 64;

// As much as a request's payload may have to come with its header. To copy and wipe more than that
// takes longer than another system call.
constexpr std::size_t kReadAheadBytes = 4 * kKiB;

constexpr int kSendFlags = MSG_DONTWAIT | MSG_NOSIGNAL;

bool IsTransient(int error) { return error == EAGAIN || error == EINTR; }

DWORD WriteError(int error) { return error == ECONNRESET ? ERROR_NO_DATA : ErrorFromErrno(error); }

}  // namespace

PipeStream::~PipeStream() {
  if (_ahead) explicit_bzero(_ahead.get() + _aheadStart, _aheadSize);
}

DWORD PipeStream::Failure(DWORD error) const {
  const DWORD shutWith = _shutWith;
  return shutWith != 0 ? shutWith : error;
}

DWORD PipeStream::Read(PendingIoList& transfers, void* buffer, DWORD size, DWORD& done) {
  if (size == 0) return 0;
  for (;;) {
    if (std::unique_lock lock(_readLock, std::try_to_lock); lock) {
      const DWORD error = ReadAlone(transfers, buffer, size, done);
      lock.unlock();
      // What has been received beyond this call's share is for readers who wait for the socket.
      if (_aheadSize > 0) transfers.WakeAll();
      return error;
    }
    if (const DWORD ended = WaitForInput(transfers)) return ended;
  }
}

DWORD PipeStream::WaitForInput(PendingIoList& transfers) {
  PendingIo pending(transfers);
  // Looked at again now that a reader who receives for others would find this one in the list.
  return _aheadSize > 0 ? 0 : pending.WaitFor(_socket.Get(), POLLIN);
}

DWORD PipeStream::ReadAlone(PendingIoList& transfers, void* buffer, DWORD size, DWORD& done) {
  if (_aheadSize > 0) {
    done = TakeReadAhead(buffer, size);
    return 0;
  }
  if (!_socket) return ERROR_BROKEN_PIPE;
  DWORD ended = 0;
  PendingIo pending(transfers);
  const ssize_t count = Receive(pending, buffer, size, ended);
  if (ended != 0) return ended;
  if (count < 0) return Failure(ErrorFromErrno(static_cast<int>(-count)));
  if (count == 0) return Failure(ERROR_BROKEN_PIPE);
  done = static_cast<DWORD>(count);
  return 0;
}

ssize_t PipeStream::Receive(PendingIo& pending, void* buffer, DWORD size, DWORD& ended) {
  if (_receives == Receives::kOnlyWhatIsRead || size >= kReadAheadBytes) {
    return pending.Receive(_socket.Get(), buffer, size, ended);
  }
  if (!_ahead) _ahead = std::make_unique_for_overwrite<std::byte[]>(kReadAheadBytes);
  const ssize_t count = pending.Receive(_socket.Get(), _ahead.get(), kReadAheadBytes, ended);
  if (count <= 0) return count;
  _aheadStart = 0;
  _aheadSize = static_cast<std::size_t>(count);
  return TakeReadAhead(buffer, size);
}

DWORD PipeStream::TakeReadAhead(void* buffer, DWORD size) {
  const std::size_t taken = std::min<std::size_t>(size, _aheadSize);
  std::byte* const bytes = _ahead.get() + _aheadStart;
  std::memcpy(buffer, bytes, taken);
  // It may be a job with passwords, of which the reader wipes only its own copy.
  explicit_bzero(bytes, taken);
  _aheadStart += taken;
  _aheadSize -= taken;
  return static_cast<DWORD>(taken);
}

DWORD PipeStream::Write(PendingIoList& transfers, const void* buffer, DWORD size, DWORD& done) {
  if (!_socket) return ERROR_NO_DATA;
  const char* const bytes = static_cast<const char*>(buffer);
  DWORD sent = 0;
  while (sent < size) {
    const ssize_t count =
        syscall(SYS_sendto, _socket.Get(), bytes + sent, size - sent, kSendFlags, nullptr, 0);
    if (count >= 0) {
      sent += static_cast<DWORD>(count);
      continue;
    }
    const int error = errno;
    if (!IsTransient(error)) return Failure(WriteError(error));
    PendingIo pending(transfers);
    if (const DWORD ended = pending.WaitFor(_socket.Get(), POLLOUT)) return ended;
  }
  done = sent;
  return 0;
}

DWORD PipeStream::Flush(PendingIoList& transfers) {
  const DWORD error = HasUnreadOutput() ? WaitUntilRead(transfers) : 0;
  return error == 0 || error == ERROR_OPERATION_ABORTED ? error : Failure(error);
}

DWORD PipeStream::WaitUntilRead(PendingIoList& transfers) {
  PendingIo pending(transfers);
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

DWORD PipeStream::PeerProcessId() const {
  ucred peer{};
  socklen_t size = sizeof peer;
  const int result = getsockopt(_socket.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &size);
  return result == 0 ? static_cast<DWORD>(peer.pid) : 0;
}

bool PipeStream::PeerHasGone() const { return !_socket || HasEvent(_socket.Get(), POLLHUP); }

bool PipeStream::IsOver() {
  char next = 0;
  const std::unique_lock lock(_readLock, std::try_to_lock);
  return lock && _aheadSize == 0 && PeerHasGone() &&
         recv(_socket.Get(), &next, 1, MSG_PEEK | MSG_DONTWAIT) <= 0;
}

void PipeStream::Shut(DWORD error) {
  _shutWith = error;
  shutdown(_socket.Get(), SHUT_RDWR);
}

bool PipeStream::HasUnreadOutput() const {
  int unread = 0;
  return ioctl(_socket.Get(), SIOCOUTQ, &unread) == 0 && unread >= kSmallestUnreadBuffer;
}

}  // namespace platform
