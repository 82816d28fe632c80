#include "platform/posix/pipes/server_pipe.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/descriptor_event.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/reactor.h"

namespace platform {
namespace {

// What the clients of all pipes may need at one moment beyond the descriptor that each has: a
// connection is accepted before its listener is closed, and a job opens files.
constexpr int kDescriptorReserve = 32;

// A process that makes pipe after pipe keeps what this many ended ones need at most.
constexpr int kPipesBetweenSweeps = 64;

struct Pipes {
  std::mutex lock;
  std::set<ServerPipe*> all;
  int madeSinceSweep = 0;
};

Pipes& AllPipes() {
  static auto* const pipes = new Pipes;  // Outlives every pipe, also at exit.
  return *pipes;
}

// How many of the highest numbers are looked at for free ones. They are given out last.
constexpr rlim_t kNumbersLookedAt = 1024;

// For a number that is no open descriptor, poll answers that it is invalid.
bool AreDescriptorsScarce() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  std::array<pollfd, kNumbersLookedAt> numbers{};
  const rlim_t count = std::min(limit.rlim_cur, kNumbersLookedAt);
  for (rlim_t i = 0; i < count; ++i) numbers[i].fd = static_cast<int>(limit.rlim_cur - 1 - i);
  poll(numbers.data(), count, 0);
  return std::count_if(numbers.begin(), numbers.end(), [](const pollfd& number) {
           return (number.revents & POLLNVAL) != 0;
         }) < kDescriptorReserve;
}

bool IsSweepDue() {
  const std::lock_guard guard(AllPipes().lock);
  return ++AllPipes().madeSinceSweep >= kPipesBetweenSweeps;
}

}  // namespace

DWORD ServerPipe::Create(std::unique_ptr<PipeAddress> address, std::shared_ptr<ServerPipe>& pipe) {
  pipe = std::make_shared<ServerPipe>(std::move(address));
  if (IsSweepDue()) GiveBackDescriptors();
  const DWORD error = pipe->StartListening();
  if (error != ERROR_TOO_MANY_OPEN_FILES) return error;
  GiveBackDescriptors();
  return pipe->StartListening();
}

ServerPipe::ServerPipe(std::unique_ptr<PipeAddress> address) : _address(std::move(address)) {
  const std::lock_guard guard(AllPipes().lock);
  AllPipes().all.insert(this);
}

ServerPipe::~ServerPipe() {
  {
    const std::lock_guard guard(AllPipes().lock);
    AllPipes().all.erase(this);
  }
  Leave(State::kClosed, ERROR_OPERATION_ABORTED);
}

DWORD ServerPipe::StartListening() {
  const std::lock_guard guard(_lock);
  return Listen();
}

DWORD ServerPipe::Listen() {
  UniqueFd socket = _address->Listen();
  if (!socket) return ErrorFromErrno(errno);
  if (AreDescriptorsScarce()) return ERROR_TOO_MANY_OPEN_FILES;
  const auto onClientWaiting = [weakSelf = weak_from_this()] {
    if (const auto self = weakSelf.lock()) static_cast<ServerPipe&>(*self).AdmitWaitingClient();
  };
  _listener.watchId = WatchDescriptor(socket.Get(), EPOLLIN, onClientWaiting);
  _listener.socket = std::move(socket);
  _state = State::kListening;
  return 0;
}

void ServerPipe::AdmitWaitingClient() {
  std::unique_lock guard(_lock);
  AdmitWaitingClient(guard);
}

void ServerPipe::AdmitWaitingClient(std::unique_lock<ShortLock>& guard) {
  if (_state != State::kListening || !HasEvent(_listener.socket.Get(), POLLIN)) return;
  Listener finished = std::exchange(_listener, {});
  Accept(finished.socket.Get());
  guard.unlock();
  EndListener(std::move(finished));
  guard.lock();
}

void ServerPipe::Accept(int listener) {
  // The door is closed to others before the first client is let in, so that nobody can slip into
  // the queue in between.
  shutdown(listener, SHUT_RD);
  UniqueFd client(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
  if (!client) {
    _state = State::kDisconnected;
    _connecting.EndAll(ErrorFromErrno(errno));
    return;
  }
  SetClient(std::make_shared<PipeStream>(std::move(client), PipeStream::Receives::kAhead));
  _state = State::kConnected;
  _connecting.EndAll(ERROR_PIPE_CONNECTED);
}

void ServerPipe::SetClient(std::shared_ptr<PipeStream> client) {
  SetOpen(client.get());
  if (_client) _former.push_back(std::move(_client));
  _client = std::move(client);
  if (!IsInUse()) _former.clear();
}

DWORD ServerPipe::Connect() {
  AdmitWaitingClient();
  PendingIo pending(_connecting);
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
  DWORD ended = 0;
  while (ended == 0) ended = pending.WaitFor(-1, 0);
  // A client that came during the wait is what was waited for; one that was there before is not.
  return ended == ERROR_PIPE_CONNECTED ? 0 : ended;
}

DWORD ServerPipe::Disconnect() {
  {
    const std::lock_guard guard(_lock);
    if (_state == State::kDisconnected) return ERROR_PIPE_NOT_CONNECTED;
  }
  Leave(State::kDisconnected, ERROR_PIPE_NOT_CONNECTED);
  return 0;
}

int ServerPipe::CancelPending() {
  return PipeEnd::CancelPending() + _connecting.EndAll(ERROR_OPERATION_ABORTED);
}

void ServerPipe::OnLastHandleClosed() { Leave(State::kClosed, ERROR_OPERATION_ABORTED); }

// The state changes first, under the lock: a call that begins from here on finds no connection. The
// rest is done without the lock, because a blocked call takes it on its way out, and StopWatching
// waits for a callback that may be waiting for it.
void ServerPipe::Leave(State state, DWORD error) {
  Listener listener;
  std::shared_ptr<PipeStream> client;
  std::unique_ptr<PipeAddress> address;
  {
    const std::lock_guard guard(_lock);
    if (_state == State::kClosed) return;
    _state = state;
    listener = std::exchange(_listener, {});
    client = _client;
    SetClient(nullptr);
    if (state == State::kClosed) address = std::move(_address);
  }
  // Calls end before the connection does, so that they report the reason and not a broken pipe.
  _transfers.EndAll(error);
  _connecting.EndAll(error);
  if (client) client->Shut(error);
  EndListener(std::move(listener));
}

void ServerPipe::EndListener(Listener listener) {
  if (listener.watchId != 0) StopWatching(listener.watchId);
}

std::shared_ptr<PipeStream> ServerPipe::Stream(DWORD& error) {
  std::unique_lock guard(_lock);
  AdmitWaitingClient(guard);
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

void ServerPipe::GiveBackDescriptors() {
  const std::lock_guard guard(AllPipes().lock);
  AllPipes().madeSinceSweep = 0;
  for (ServerPipe* const pipe : AllPipes().all) pipe->GiveBackDescriptor();
}

void ServerPipe::GiveBackDescriptor() {
  const std::lock_guard guard(_lock);
  // While a call is in progress the old connection stays, and its descriptor.
  if (_client && _client->IsOver()) SetClient(std::make_shared<PipeStream>());
  if (!IsInUse()) _former.clear();
}

}  // namespace platform
