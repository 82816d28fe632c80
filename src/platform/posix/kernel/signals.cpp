#include "platform/posix/kernel/signals.h"

namespace platform {

void HandleSignal(int signal, SignalHandler handler, int flags, struct sigaction* before) {
  struct sigaction action {};  // It blocks no signal.
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART | flags;
  sigaction(signal, &action, before);
}

}  // namespace platform
