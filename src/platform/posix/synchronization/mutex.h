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
  /// Nobody owns the mutex any more: its owner has released it, or has ended (`isAbandoned`).
  /// Offers it to those who wait.
  virtual void OnFree(bool isAbandoned);

 private:
  Thread* _owner = nullptr;
  int _recursion = 0;
  bool _isAbandoned = false;
};

}  // namespace platform
