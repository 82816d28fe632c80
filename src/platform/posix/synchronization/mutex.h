/// Mutexes: owned by a thread, recursively, and abandoned when it ends.
#pragma once

#include "platform/posix/kernel/wait_engine.h"

namespace platform {

/// A mutex of this process, and what a named one has in common with it. All but Release is called
/// with the engine's lock held.
class Mutex : public Waitable {
 public:
  bool IsSignalled(const Thread& waiter) override;
  bool Consume(Thread& waiter) override;
  void OnOwnerEnded(const Thread& owner) override;

  /// Gives one ownership of the calling thread back; false when it has none.
  bool Release();

 protected:
  const Thread* Owner() const { return _owner; }
  /// The owner has given its last ownership back; the call is on its thread.
  virtual void OnReleased() {}

 private:
  Thread* _owner = nullptr;
  int _recursion = 0;
  bool _wasAbandoned = false;
};

}  // namespace platform
