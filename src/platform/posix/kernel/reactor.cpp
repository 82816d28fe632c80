#include "platform/posix/kernel/reactor.h"

#include <sys/epoll.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "platform/posix/kernel/background_thread.h"
#include "platform/posix/kernel/kernel_scope.h"

namespace platform {
namespace {

thread_local bool t_isReactor = false;

struct Watch {
  int fd;
  std::function<void()> onReady;
};

class Reactor {
 public:
  static Reactor& Instance() {
    static auto* const reactor = new Reactor;  // Its thread runs as long as the process.
    return *reactor;
  }

  std::uint64_t Add(int fd, std::uint32_t events, std::function<void()> onReady);
  void Remove(std::uint64_t watchId);

 private:
  Reactor();
  void Loop();
  void Dispatch(std::uint64_t watchId);
  std::shared_ptr<Watch> BeginCallback(std::uint64_t watchId);
  void EndCallback();

  const int _epoll = epoll_create1(EPOLL_CLOEXEC);
  std::mutex _lock;
  std::condition_variable _callbackEnded;
  std::unordered_map<std::uint64_t, std::shared_ptr<Watch>> _watches;
  std::uint64_t _lastId = 0;
  std::uint64_t _runningId = 0;  // 0 while no callback runs.
};

Reactor::Reactor() {
  RunInBackground([this] { Loop(); });
}

std::uint64_t Reactor::Add(int fd, std::uint32_t events, std::function<void()> onReady) {
  const std::lock_guard lock(_lock);
  const std::uint64_t watchId = ++_lastId;
  _watches[watchId] = std::make_shared<Watch>(Watch{fd, std::move(onReady)});
  epoll_event event{};
  event.events = events;
  event.data.u64 = watchId;
  epoll_ctl(_epoll, EPOLL_CTL_ADD, fd, &event);
  return watchId;
}

void Reactor::Remove(std::uint64_t watchId) {
  std::shared_ptr<Watch> watch;  // Destroyed without the lock, because its captures may need it.
  std::unique_lock lock(_lock);
  const auto found = _watches.find(watchId);
  if (found != _watches.end()) {
    watch = std::move(found->second);
    _watches.erase(found);
    epoll_ctl(_epoll, EPOLL_CTL_DEL, watch->fd, nullptr);
  }
  if (t_isReactor) return;
  _callbackEnded.wait(lock, [&] { return _runningId != watchId; });
}

void Reactor::Loop() {
  const KernelScope scope;
  t_isReactor = true;
  constexpr int kEventsAtOnce = 16;
  epoll_event events[kEventsAtOnce];
  for (;;) {
    const int count = epoll_wait(_epoll, events, kEventsAtOnce, -1);
    for (int index = 0; index < count; ++index) Dispatch(events[index].data.u64);
  }
}

void Reactor::Dispatch(std::uint64_t watchId) {
  auto watch = BeginCallback(watchId);
  if (!watch) return;
  watch->onReady();
  // Our reference goes first: StopWatching promises that the callback's captures have been
  // destroyed when it returns.
  watch.reset();
  EndCallback();
}

std::shared_ptr<Watch> Reactor::BeginCallback(std::uint64_t watchId) {
  const std::lock_guard lock(_lock);
  const auto found = _watches.find(watchId);
  if (found == _watches.end()) return nullptr;
  _runningId = watchId;
  return found->second;
}

void Reactor::EndCallback() {
  {
    const std::lock_guard lock(_lock);
    _runningId = 0;
  }
  _callbackEnded.notify_all();
}

}  // namespace

std::uint64_t WatchDescriptor(int fd, std::uint32_t events, std::function<void()> onReady) {
  const KernelScope scope;
  return Reactor::Instance().Add(fd, events, std::move(onReady));
}

void StopWatching(std::uint64_t watchId) {
  const KernelScope scope;
  Reactor::Instance().Remove(watchId);
}

}  // namespace platform
