/// The server's end of one named pipe, whose blocked calls another thread can end.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/windows_api.h"
#include "support/ostring.h"
#include "support/scoped_handle.h"

/// Holds the pipe and its shutdown event and closes both. Calls are synchronous: Connect belongs to
/// one thread, ReadExactly, Write and Flush to one thread after that; everything else may be called
/// by any thread at any time.
///
/// Cancelling finds only calls that are already blocked. A thread therefore announces its call
/// before it looks at the shutdown flag; Shutdown sets the flag first and then cancels until no
/// call is announced, so that a call that begins at that very moment is not missed.
class PipeChannel {
 public:
  /// Creates the shutdown event, no pipe.
  PipeChannel();
  PipeChannel(const PipeChannel&) = delete;
  PipeChannel& operator=(const PipeChannel&) = delete;

  /// Creates the only instance of the pipe `path`: duplex, bytes, blocking, without buffers. False
  /// with the thread's last error set.
  bool Create(const OString& path, SECURITY_ATTRIBUTES* security);

  /// Waits for a client without limit. ERROR_SUCCESS or ERROR_PIPE_CONNECTED (it came before the
  /// call) when there is one, ERROR_OPERATION_ABORTED after Shutdown, else the system's error.
  DWORD Connect();
  /// Ends the client's connection.
  void Disconnect();

  /// Reads exactly `sizeBytes` bytes, without limit. A failed read, for instance because the client
  /// has gone, is tried again every 500 ms; so false means that the channel was shut down first.
  /// `totalBytes` receives how many bytes have arrived.
  bool ReadExactly(BYTE* bytes, DWORD sizeBytes, DWORD* totalBytes);
  /// False unless all bytes were written, in one call.
  bool Write(const void* bytes, DWORD sizeBytes);
  /// Waits until the client has read everything; returns at once after Shutdown.
  void Flush();

  /// Ends every blocked call and makes later ones fail at once. Never undone; repeats are harmless.
  void Shutdown();
  bool IsShutdown() const { return _shutdown.load() != 0; }
  /// Signalled for good by Shutdown; owned by the channel.
  HANDLE ShutdownEvent() const { return _shutdownEvent.Get(); }

  /// Cancels the pipe's pending calls, whichever thread made them. True as well without a pipe.
  bool CancelAll() const;
  /// For who has terminated the thread that uses the channel: it cannot take back the call that it
  /// had announced.
  void ForgetAnnouncedCall() { _isCallAnnounced = false; }

 private:
  template <class Call>
  DWORD RunBlocking(Call&& call);
  DWORD ReadPiece(BYTE* piece, DWORD sizeBytes, DWORD* doneBytes);
  void PauseAfterFailedRead() const;

  ScopedHandle _shutdownEvent;
  ScopedHandle _pipe;
  std::atomic<std::uint32_t> _shutdown{0};  // 0 or 1.
  std::atomic<bool> _isCallAnnounced{false};
};
