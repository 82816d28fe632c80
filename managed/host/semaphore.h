/// A semaphore whose waiter sleeps at once. The standard library's yields the processor several
/// times first; on a busy machine each of them lasts a round of everything else that runs.
#pragma once

#include <semaphore.h>

namespace Managed {

/// For one waiter at a time, which may be terminated while it waits. Never destroyed.
class Semaphore {
 public:
  Semaphore() { sem_init(&_semaphore, 0, 0); }
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  void Release() { sem_post(&_semaphore); }
  void Acquire() {
    while (sem_wait(&_semaphore) != 0) {
      // A signal came, by which the runtime stops its threads.
    }
  }

 private:
  sem_t _semaphore;
};

}  // namespace Managed
