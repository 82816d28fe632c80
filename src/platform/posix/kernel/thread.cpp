#include "platform/posix/kernel/thread.h"

#include <limits.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/posix/api/threads.h"
#include "platform/posix/kernel/background_thread.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/wakeable_call.h"

namespace platform {
namespace {

[[gnu::tls_model("initial-exec")]] constinit thread_local Thread* t_current = nullptr;

/// How long Terminate waits for a thread to leave the layer. What the layer does there takes
/// milliseconds, unless a file system or a damaged heap holds it.
constexpr DWORD kMaxTerminationMs = 1000;

/// Thread attributes with a stack size and a guard that leaves room to handle a stack overflow;
/// freed at the end of the scope.
class ThreadAttributes {
 public:
  explicit ThreadAttributes(std::size_t stackSizeBytes) {
    pthread_attr_init(&_attributes);
    pthread_attr_setguardsize(&_attributes, kStackGuardBytes);
    if (stackSizeBytes == 0) return;
    pthread_attr_setstacksize(&_attributes,
                              std::max<std::size_t>(stackSizeBytes, PTHREAD_STACK_MIN));
  }
  ~ThreadAttributes() { pthread_attr_destroy(&_attributes); }
  ThreadAttributes(const ThreadAttributes&) = delete;
  ThreadAttributes& operator=(const ThreadAttributes&) = delete;
  const pthread_attr_t* Get() const { return &_attributes; }

 private:
  pthread_attr_t _attributes;
};

}  // namespace

Thread& Thread::Current() {
  return t_current != nullptr ? *t_current : Attach(std::make_shared<Thread>());
}

Thread& Thread::Attach(std::shared_ptr<Thread> thread) {
  // A thread's end is noticed by the destructor of a thread-specific value. It runs after the
  // destructors of C++ thread-local objects, which may still call the layer and so need this
  // thread's object. It also runs for threads that the layer did not start.
  static const pthread_key_t endKey = [] {
    pthread_key_t key{};
    pthread_key_create(&key, OnThreadEnds);
    return key;
  }();
  Thread& self = *thread;
  pthread_setspecific(endKey, &self);
  self._selfWhileRunning = std::move(thread);
  t_current = &self;
  BindTerminationFlag(&self._isTerminationPending);
  self._id = static_cast<DWORD>(gettid());
  return self;
}

std::shared_ptr<Thread> Thread::Start(Procedure procedure, void* argument,
                                      std::size_t stackSizeBytes) {
  auto thread = std::make_shared<Thread>();
  thread->_procedure = procedure;
  thread->_argument = argument;
  if (!thread->Launch(stackSizeBytes)) return nullptr;
  thread->_id.wait(0);
  return thread;
}

bool Thread::Launch(std::size_t stackSizeBytes) {
  const ThreadAttributes attributes(stackSizeBytes);
  auto reference = std::make_unique<std::shared_ptr<Thread>>(
      std::static_pointer_cast<Thread>(shared_from_this()));
  errno = pthread_create(&_native, attributes.Get(), Run, reference.get());
  if (errno != 0) return false;
  reference.release();  // The new thread took it over.
  return true;
}

void* Thread::Run(void* thread) {
  Procedure procedure = nullptr;
  void* argument = nullptr;
  {
    KernelScope scope;
    sigset_t none;  // Whoever started it may have blocked what ends a thread.
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    const std::unique_ptr<std::shared_ptr<Thread>> reference(
        static_cast<std::shared_ptr<Thread>*>(thread));
    Thread& self = Attach(*reference);
    procedure = self._procedure;
    argument = self._argument;
    self._id.notify_all();
  }
  const unsigned exitCode = procedure(argument);
  EnterKernelForGood();
  t_current->_returnedCode = exitCode;
  return nullptr;
}

void Thread::Exit(unsigned exitCode) {
  EnterKernelForGood();
  Current()._returnedCode = exitCode;
  pthread_exit(nullptr);
}

void Thread::OnThreadEnds(void* thread) {
  EnterKernelForGood();
  Thread& self = *static_cast<Thread*>(thread);
  const bool isOurs = self._procedure != nullptr;
  if (!self.FinishUnlessPending(self._returnedCode)) LeaveThreadRaw();
  if (isOurs) pthread_detach(pthread_self());
}

bool Thread::FinishUnlessPending(DWORD exitCode) {
  // Whoever waits for the thread may free the site while the thread is still on its way out.
  const bool hasLeftSite = _crashSite && LeaveAlternateStack(*_crashSite);
  Remains remains;
  std::lock_guard lock(EngineLock());
  if (_isTerminationPending) return false;
  remains = Finish(exitCode);
  if (hasLeftSite) remains.crashSite = std::move(_crashSite);
  BindTerminationFlag(nullptr);
  t_current = nullptr;
  return true;
}

Thread::Remains Thread::Finish(DWORD exitCode) {
  _hasEnded = true;
  _exitCode = exitCode;
  // Mutexes first: a waiter for the thread that wakes up finds its mutexes abandoned. The
  // references are handed out because the last one may destroy an object whose destructor takes
  // the engine's lock.
  Remains remains{std::move(_owned), std::move(_selfWhileRunning), nullptr};
  for (const auto& object : remains.owned) object->OnOwnerEnded(*this);
  SignalWaiters();
  return remains;
}

bool Thread::Terminate(DWORD exitCode) {
  if (this == t_current) TerminateSelf(exitCode);
  {
    std::lock_guard lock(EngineLock());
    // Two threads that terminate each other: the second one finds itself pending and gives way.
    if (_hasEnded || _isTerminationPending || _procedure == nullptr ||
        platform::IsTerminationPending()) {
      return false;
    }
    _isTerminationPending = true;
  }
  WakeForTermination();
  const Deadline deadline(kMaxTerminationMs);
  if (pthread_clockjoin_np(_native, nullptr, CLOCK_MONOTONIC, deadline.When()) == 0) {
    FinishTerminated(exitCode);
  } else {
    FinishWhenGone(exitCode);
  }
  return true;
}

void Thread::FinishTerminated(DWORD exitCode) {
  Remains remains;
  std::lock_guard lock(EngineLock());
  remains = Finish(exitCode);
  remains.crashSite = std::move(_crashSite);
}

void Thread::FinishWhenGone(DWORD exitCode) {
  auto self = std::static_pointer_cast<Thread>(shared_from_this());
  try {
    RunInBackground([self, exitCode] {
      pthread_join(self->_native, nullptr);
      self->FinishTerminated(exitCode);
    });
  } catch (const std::system_error&) {
    // Without a thread to wait for it, it counts as running until the process ends.
  }
}

void Thread::TerminateSelf(DWORD exitCode) {
  EnterKernelForGood();
  // Nobody can join a thread that nobody terminates: its stack is not freed.
  if (FinishUnlessPending(exitCode)) pthread_detach(pthread_self());
  LeaveThreadRaw();
}

void Thread::WakeForTermination() {
  SendTerminationSignal(_native);
  _waker.Wake();
  WakeFromCall(_native);
}

DWORD Thread::ExitCode() const {
  std::lock_guard lock(EngineLock());
  return _hasEnded ? _exitCode : STILL_ACTIVE;
}

void Thread::PrepareForCrash() {
  if (!_crashSite) _crashSite = PrepareCrashSite();
}

void Thread::AddOwned(std::shared_ptr<Waitable> object) { _owned.push_back(std::move(object)); }

void Thread::RemoveOwned(const Waitable* object) {
  std::erase_if(_owned, [object](const auto& owned) { return owned.get() == object; });
}

bool Thread::IsSignalled(const Thread&) { return _hasEnded; }

}  // namespace platform
