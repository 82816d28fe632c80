/// Threads that run managed code, so that the program's own threads never do.
///
/// The program ends a thread that does not end by terminating it wherever it is. The runtime would
/// not survive that for one of its threads: it stops them all to collect garbage, and waits for
/// each. So a thread of the program only waits here for a worker, and nothing of the runtime is on
/// it when it is terminated. A worker that never returns is left alone until the process ends; the
/// runtime can stop it whenever it wants to.
#pragma once

#include "managed/host/managed_call.h"
#include "managed/host/semaphore.h"
#include "platform/landing.h"
#include "platform/windows_api.h"

namespace Managed {

class Worker {
 public:
  /// An idle worker, or a new one. Throws std::system_error when there can be no more threads.
  static Worker& Take();
  /// After the last call of whoever took it.
  void GiveBack();

  /// Runs the call and returns its record when it has ended. A crash in it, in native code below
  /// managed code, is thrown on the calling thread, as the program's own translator throws it.
  /// After that the worker is of no use: the runtime's frames on its stack have not been left in
  /// order. False then from IsUsable.
  void Run(ManagedCall& call);
  bool IsUsable() const { return _crash == nullptr; }

  /// Whether the calling thread is a worker's. Signal handlers may ask.
  static bool IsCurrentThread();

 private:
  Worker() = default;
  [[noreturn]] void Work();
  void Execute();
  /// The translator of the workers' threads: leaves the call at once. Below managed code there is
  /// nothing that an exception could unwind.
  static void OnCrash(unsigned code, EXCEPTION_POINTERS* pointers);

  /// The call at work. It is the worker's own, because a caller that is terminated takes its stack
  /// along.
  ManagedCall _call;
  RunManaged _run = nullptr;
  platform::Landing _landing;
  EXCEPTION_POINTERS* _crash = nullptr;
  Semaphore _hasCall;
  Semaphore _hasEnded;
};

}  // namespace Managed
