#include "platform/posix/kernel/background_thread.h"

#include <signal.h>

#include <thread>
#include <utility>

#include "platform/posix/kernel/signals.h"

namespace platform {
namespace {

/// Blocks every signal on the calling thread while it lives, except the one that asks a thread for
/// its registers; a thread started meanwhile inherits the mask.
class AllSignalsBlocked {
 public:
  AllSignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    sigdelset(&all, CaptureSignal());
    pthread_sigmask(SIG_SETMASK, &all, &_before);
  }
  ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
  AllSignalsBlocked(const AllSignalsBlocked&) = delete;
  AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

 private:
  sigset_t _before{};
};

}  // namespace

void RunInBackground(std::function<void()> work) {
  const AllSignalsBlocked blocked;
  std::thread(std::move(work)).detach();
}

}  // namespace platform
