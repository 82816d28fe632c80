/// The connection between a pipe's two ends: one Unix stream socket, read and written so that
/// another thread can end a blocked call.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "platform/posix/kernel/blocking_io.h"
#include "platform/posix/kernel/short_lock.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// Any thread may call it. Operations return a system error code, 0 for success. One that has to
/// block enters the list that it is given, and reports what it is ended with; after Shut, what Shut
/// was given.
class PipeStream {
 public:
  /// What a read takes from the socket.
  enum class Receives {
    kOnlyWhatIsRead,
    /// What follows as well, up to 4 KiB, so that the header and payload of most requests cost
    /// one system call. The peer that flushes then waits only until its bytes have been received.
    kAhead,
  };

  PipeStream(UniqueFd socket, Receives receives)
      : _socket(std::move(socket)), _receives(receives) {}
  /// A connection whose peer has gone and left nothing to read; it needs no descriptor.
  PipeStream() = default;
  ~PipeStream();
  PipeStream(const PipeStream&) = delete;
  PipeStream& operator=(const PipeStream&) = delete;

  /// Blocks until at least one byte is there. ERROR_BROKEN_PIPE when the peer has closed and
  /// nothing is left to read.
  DWORD Read(PendingIoList& transfers, void* buffer, DWORD size, DWORD& done);
  /// Blocks until the system has taken all bytes. ERROR_NO_DATA when the peer has closed.
  DWORD Write(PendingIoList& transfers, const void* buffer, DWORD size, DWORD& done);
  /// Blocks until the peer has read everything. ERROR_BROKEN_PIPE when it closes before.
  DWORD Flush(PendingIoList& transfers);

  /// Whether the other end has been closed altogether (one that only stopped sending is still
  /// there).
  bool PeerHasGone() const;
  /// The process at the other end when the connection was made; 0 when the system does not know.
  DWORD PeerProcessId() const;
  /// Whether the peer has gone and nothing of it is left to read.
  bool IsOver();
  /// Ends the connection for both sides; operations fail with `error` from now on. The descriptor
  /// stays valid for those still in progress.
  void Shut(DWORD error);

 private:
  bool HasUnreadOutput() const;
  DWORD WaitUntilRead(PendingIoList& transfers);
  /// Called with the read lock held.
  DWORD ReadAlone(PendingIoList& transfers, void* buffer, DWORD size, DWORD& done);
  /// Sleeps until a read may succeed.
  DWORD WaitForInput(PendingIoList& transfers);
  /// What an operation that failed with `error` reports.
  DWORD Failure(DWORD error) const;
  DWORD TakeReadAhead(void* buffer, DWORD size);
  ssize_t Receive(PendingIo& pending, void* buffer, DWORD size, DWORD& ended);

  const UniqueFd _socket{};
  const Receives _receives = Receives::kOnlyWhatIsRead;
  std::atomic<DWORD> _shutWith{0};

  /// Guards what follows. A reader holds it in its sleep; others try it and sleep elsewhere.
  ShortLock _readLock;
  /// What was received ahead: `_aheadSize` bytes from `_aheadStart`. Allocated at the first read.
  std::unique_ptr<std::byte[]> _ahead;
  std::size_t _aheadStart = 0;
  std::atomic<std::size_t> _aheadSize{0};  // Written with the lock held, also read without it.
};

}  // namespace platform
