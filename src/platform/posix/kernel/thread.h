/// A thread as the layer sees it: what it waits with, what it owns, how it ends.
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>
#include <vector>

#include "platform/posix/kernel/crash_site.h"
#include "platform/posix/kernel/thread_waker.h"
#include "platform/posix/kernel/wait_engine.h"

namespace platform {

/// A thread that the layer started, or (made at first use) any other thread that calls the layer.
/// Signalled when it has ended.
class Thread final : public Waitable {
 public:
  using Procedure = unsigned (*)(void*);

  /// The calling thread.
  static Thread& Current();

  /// Starts a thread; `stackSizeBytes` 0 is the system's default. Returns when it has its id. Null
  /// with errno set on failure.
  static std::shared_ptr<Thread> Start(Procedure procedure, void* argument,
                                       std::size_t stackSizeBytes);

  /// Ends the calling thread, which the layer started. Destructors of the frames below run.
  [[noreturn]] static void Exit(unsigned exitCode);

  Thread() = default;

  /// Ends this thread wherever it is; does not return for the calling thread. It returns when the
  /// thread no longer runs, or after a second when the thread is still inside the layer: the thread
  /// then ends when it leaves the layer, and is signalled and its mutexes abandoned at that time.
  /// False when it has ended, somebody else is ending it, the caller is itself to be terminated, or
  /// the layer did not start it.
  bool Terminate(DWORD exitCode);

  DWORD Id() const { return _id; }
  /// STILL_ACTIVE while it runs.
  DWORD ExitCode() const;

  ThreadWaker& Waker() { return _waker; }
  /// Mutexes that the thread has to answer for. Called with the engine's lock held.
  void AddOwned(std::shared_ptr<Waitable> object);
  void RemoveOwned(const Waitable* object);

  /// Makes the thread's own crash site, unless it has one; without memory it goes without. Called
  /// by the thread itself.
  void PrepareForCrash();

  bool IsSignalled(const Thread& waiter) override;

 private:
  static void* Run(void* thread);
  static void OnThreadEnds(void* thread);
  static Thread& Attach(std::shared_ptr<Thread> thread);
  bool Launch(std::size_t stackSizeBytes);
  [[noreturn]] void TerminateSelf(DWORD exitCode);
  void WakeForTermination();
  /// After the thread has been joined.
  void FinishTerminated(DWORD exitCode);
  /// The same on a thread of the layer's own, which joins first, however long that takes.
  void FinishWhenGone(DWORD exitCode);

  /// What an ended thread lets go of; to be destroyed without the engine's lock.
  struct Remains {
    std::vector<std::shared_ptr<Waitable>> owned;
    std::shared_ptr<Thread> self;
    /// Not kept for as long as somebody has a handle: there may be thousands.
    OwnedCrashSite crashSite;
  };
  /// Called with the engine's lock held.
  Remains Finish(DWORD exitCode);
  /// By the thread itself. False when another thread terminates it and says how it ended.
  bool FinishUnlessPending(DWORD exitCode);

  Procedure _procedure = nullptr;  // Null for a thread that the layer did not start.
  void* _argument = nullptr;
  pthread_t _native{};
  std::atomic<DWORD> _id{0};
  ThreadWaker _waker;
  /// Set once, under the engine's lock, by the thread that terminates this one and sees to the
  /// join.
  std::atomic<bool> _isTerminationPending{false};
  /// What the procedure returned; written and read by the thread itself.
  DWORD _returnedCode = 0;
  OwnedCrashSite _crashSite;

  // Guarded by the engine's lock.
  bool _hasEnded = false;
  DWORD _exitCode = 0;
  std::vector<std::shared_ptr<Waitable>> _owned;
  std::shared_ptr<Thread> _selfWhileRunning;
};

}  // namespace platform
