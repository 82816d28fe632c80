/// The two kinds of pipe handles.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/posix/kernel/blocking_io.h"
#include "platform/posix/kernel/io_object.h"
#include "platform/posix/pipes/address.h"
#include "platform/posix/pipes/stream.h"

namespace platform {

/// What both ends have: a connection to work on, and a list of the calls that are blocked.
class PipeEnd : public IoObject {
 public:
  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  DWORD Write(const void* buffer, DWORD size, DWORD& done) override;
  DWORD Flush() override;
  int CancelPending() override;

 protected:
  /// The present connection, else null and in `error` what an operation then reports.
  virtual std::shared_ptr<PipeStream> Stream(DWORD& error) = 0;

  PendingIoList _pending;

 private:
  /// Runs `operation` (stream, pending) on the present connection as a call that can be ended. One
  /// that fails because the connection was given up meanwhile reports that.
  template <class Operation>
  DWORD Run(Operation operation);
};

/// The client's end: what CreateFileW opens.
class ClientPipe : public PipeEnd {
 public:
  ClientPipe(UniqueFd socket, bool canRead, bool canWrite);
  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  DWORD Write(const void* buffer, DWORD size, DWORD& done) override;
  void OnLastHandleClosed() override;

 protected:
  std::shared_ptr<PipeStream> Stream(DWORD& error) override;

 private:
  const std::shared_ptr<PipeStream> _stream;
  const bool _canRead;
  const bool _canWrite;
};

/// The one instance of a pipe. It admits one client each time it listens: the first connection is
/// accepted at once, on the reactor's thread, and the listening socket is closed with it.
class ServerPipe : public PipeEnd {
 public:
  /// Neither listening nor connected yet.
  explicit ServerPipe(std::unique_ptr<PipeAddress> address);
  ~ServerPipe() override;

  /// Lets clients in without waiting for one. A system error code, as for the following.
  DWORD StartListening();
  DWORD Connect();
  DWORD Disconnect();
  void OnLastHandleClosed() override;

 protected:
  std::shared_ptr<PipeStream> Stream(DWORD& error) override;

 private:
  /// Connected it stays, also after the client has gone, until it is disconnected.
  enum class State { kListening, kConnected, kDisconnected, kClosed };

  struct Listener {
    UniqueFd socket;
    std::uint64_t watchId = 0;
  };

  /// Called with the lock held, in the state kDisconnected.
  DWORD Listen();
  /// Lets in the client that has connected, if the pipe listens and there is one. On the reactor's
  /// thread as soon as there is; on others so that they never miss one that came before.
  void AdmitWaitingClient();
  /// Called with the lock held.
  void Accept(int listener);
  /// Moves to `state`; blocked calls end with `error`, and so do the connection and the listener.
  void Leave(State state, DWORD error);
  /// Called without the lock, which the watch's callback takes.
  static void EndListener(Listener listener);

  std::mutex _lock;  // guards what follows
  State _state = State::kDisconnected;
  std::shared_ptr<PipeStream> _client;
  Listener _listener;
  std::unique_ptr<PipeAddress> _address;
  const UniqueFd _arrival;  // an eventfd, readable while connected
};

}  // namespace platform
