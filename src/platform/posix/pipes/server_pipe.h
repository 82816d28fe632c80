/// The server's end of a pipe: what CreateNamedPipeW makes.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/posix/kernel/short_lock.h"
#include "platform/posix/kernel/unique_fd.h"
#include "platform/posix/pipes/address.h"
#include "platform/posix/pipes/pipe_end.h"

namespace platform {

/// The one instance of a pipe. It admits one client each time it listens: the first connection is
/// accepted at once, on the reactor's thread, and the listening socket is closed with it.
///
/// It keeps one descriptor: the listening socket, then the connection to the client. A connection
/// whose client has gone gives its descriptor and its buffer back when descriptors become scarce,
/// and at the latest when 64 more pipes have been made.
class ServerPipe : public PipeEnd {
 public:
  /// A pipe that lets clients in under `address`, without waiting for one. A system error code, as
  /// for the following; ERROR_TOO_MANY_OPEN_FILES already while some descriptors are left, so that
  /// the process can serve the clients that it has promised a pipe.
  static DWORD Create(std::unique_ptr<PipeAddress> address, std::shared_ptr<ServerPipe>& pipe);

  explicit ServerPipe(std::unique_ptr<PipeAddress> address);
  ~ServerPipe() override;

  /// Waits for the client.
  DWORD Connect();
  DWORD Disconnect();
  int CancelPending() override;
  void OnLastHandleClosed() override;

 protected:
  std::shared_ptr<PipeStream> Stream(DWORD& error) override;

 private:
  /// Once connected it stays so, also after the client has gone, until it is disconnected.
  enum class State { kListening, kConnected, kDisconnected, kClosed };

  struct Listener {
    UniqueFd socket;
    std::uint64_t watchId = 0;
  };

  DWORD StartListening();
  /// Called with the lock held, in the state kDisconnected.
  DWORD Listen();
  /// Lets in the client that has connected, if the pipe listens and there is one. The reactor's
  /// thread calls it as soon as there is one; other threads call it so that they never miss a
  /// client that came before.
  void AdmitWaitingClient();
  /// The same with the lock held; it is given up for a moment when there is a client.
  void AdmitWaitingClient(std::unique_lock<ShortLock>& guard);
  /// Called with the lock held.
  void Accept(int listener);
  /// Called with the lock held.
  void SetClient(std::shared_ptr<PipeStream> client);
  /// Moves to `state`; blocked calls end with `error`, and so do the connection and the listener.
  void Leave(State state, DWORD error);
  /// Called without the lock, which the watch's callback takes.
  static void EndListener(Listener listener);

  /// Closes the sockets of all pipes whose client has gone, and frees their buffers.
  static void GiveBackDescriptors();
  void GiveBackDescriptor();

  PendingIoList _connecting;

  ShortLock _lock;  // Guards what follows.
  State _state = State::kDisconnected;
  std::shared_ptr<PipeStream> _client;
  std::vector<std::shared_ptr<PipeStream>> _former;  // What transfers may still be at work on.
  Listener _listener;
  std::unique_ptr<PipeAddress> _address;
};

}  // namespace platform
