#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/reactor.h"
#include "platform/posix/pipes/pipe_ends.h"

namespace platform {
namespace {

bool HasWaitingClient(int listener) {
  pollfd state{listener, POLLIN, 0};
  return poll(&state, 1, 0) == 1 && (state.revents & POLLIN) != 0;
}

}  // namespace

ServerPipe::ServerPipe(std::unique_ptr<PipeAddress> address)
    : _address(std::move(address)), _arrival(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ServerPipe::~ServerPipe() { Leave(State::kClosed, ERROR_OPERATION_ABORTED); }

DWORD ServerPipe::StartListening() {
  const std::lock_guard guard(_lock);
  return Listen();
}

DWORD ServerPipe::Listen() {
  UniqueFd socket = _address->Listen();
  if (!socket) return ErrorFromErrno(errno);
  const auto onClientWaiting = [weakSelf = weak_from_this()] {
    if (const auto self = weakSelf.lock()) static_cast<ServerPipe&>(*self).AdmitWaitingClient();
  };
  _listener.watchId = WatchDescriptor(socket.Get(), EPOLLIN, onClientWaiting);
  _listener.socket = std::move(socket);
  _state = State::kListening;
  return 0;
}

void ServerPipe::AdmitWaitingClient() {
  Listener finished;
  {
    const std::lock_guard guard(_lock);
    if (_state == State::kListening && HasWaitingClient(_listener.socket.Get())) {
      finished = std::exchange(_listener, {});
      Accept(finished.socket.Get());
    }
  }
  EndListener(std::move(finished));
}

void ServerPipe::Accept(int listener) {
  // Closed to others before the first is let in: nobody can slip into the queue in between.
  shutdown(listener, SHUT_RD);
  UniqueFd client(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
  if (!client) {
    _state = State::kDisconnected;
    _pending.EndAll(ErrorFromErrno(errno));
    return;
  }
  _client = std::make_shared<PipeStream>(std::move(client));
  _state = State::kConnected;
  eventfd_write(_arrival.Get(), 1);
}

DWORD ServerPipe::Connect() {
  PendingIo pending(_pending);
  AdmitWaitingClient();
  {
    const std::lock_guard guard(_lock);
    if (_state == State::kClosed) return ERROR_INVALID_HANDLE;
    if (_state == State::kConnected) {
      return _client->PeerHasGone() ? ERROR_NO_DATA : ERROR_PIPE_CONNECTED;
    }
    if (_state == State::kDisconnected) {
      if (const DWORD error = Listen()) return error;
    }
  }
  return pending.WaitFor(_arrival.Get(), POLLIN);
}

DWORD ServerPipe::Disconnect() {
  {
    const std::lock_guard guard(_lock);
    if (_state == State::kDisconnected) return ERROR_PIPE_NOT_CONNECTED;
  }
  Leave(State::kDisconnected, ERROR_PIPE_NOT_CONNECTED);
  return 0;
}

void ServerPipe::OnLastHandleClosed() { Leave(State::kClosed, ERROR_OPERATION_ABORTED); }

void ServerPipe::Leave(State state, DWORD error) {
  Listener listener;
  std::shared_ptr<PipeStream> client;
  std::unique_ptr<PipeAddress> address;
  {
    const std::lock_guard guard(_lock);
    if (_state == State::kClosed) return;
    _state = state;
    listener = std::exchange(_listener, {});
    client = std::exchange(_client, nullptr);
    if (state == State::kClosed) address = std::move(_address);
    eventfd_t ignored = 0;
    eventfd_read(_arrival.Get(), &ignored);
  }
  // First the calls, so that they report the reason and not the broken connection.
  _pending.EndAll(error);
  if (client) client->Shut();
  EndListener(std::move(listener));
}

void ServerPipe::EndListener(Listener listener) {
  if (listener.watchId != 0) StopWatching(listener.watchId);
}

std::shared_ptr<PipeStream> ServerPipe::Stream(DWORD& error) {
  AdmitWaitingClient();
  const std::lock_guard guard(_lock);
  switch (_state) {
    case State::kListening:
      error = ERROR_PIPE_LISTENING;
      break;
    case State::kClosed:
      error = ERROR_INVALID_HANDLE;
      break;
    default:
      error = ERROR_PIPE_NOT_CONNECTED;
  }
  return _client;
}

}  // namespace platform
