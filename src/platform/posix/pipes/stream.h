/// The connection between a pipe's two ends: one Unix stream socket, read and written so that
/// another thread can end a blocked call.
#pragma once

#include "platform/posix/kernel/blocking_io.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// Any thread may call it. Operations return a system error code, 0 for success, and block in
/// `pending`, whose ending they report.
class PipeStream {
 public:
  explicit PipeStream(UniqueFd socket) : _socket(std::move(socket)) {}

  /// Blocks until at least one byte is there. ERROR_BROKEN_PIPE when the peer has closed and
  /// nothing is left to read.
  DWORD Read(PendingIo& pending, void* buffer, DWORD size, DWORD& done);
  /// Blocks until the system has taken all bytes. ERROR_NO_DATA when the peer has closed.
  DWORD Write(PendingIo& pending, const void* buffer, DWORD size, DWORD& done);
  /// Blocks until the peer has read everything. ERROR_BROKEN_PIPE when it closes before.
  DWORD Flush(PendingIo& pending);

  /// Whether the other end has been closed altogether (one that only stopped sending is still
  /// there).
  bool PeerHasGone() const;
  /// Ends the connection for both sides; the descriptor stays valid for calls still in progress.
  void Shut();

 private:
  bool HasUnreadOutput() const;
  DWORD WaitUntilRead(PendingIo& pending);

  UniqueFd _socket;
};

}  // namespace platform
