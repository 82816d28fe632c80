/// Who gets the signals of a process that has a managed runtime.
#pragma once

#include <signal.h>

#include <cstddef>

namespace Managed {

/// The handlers that the process has before the runtime comes, and what becomes of them.
///
/// Of what the runtime takes, it keeps SIGSEGV, SIGBUS and SIGFPE on threads that it knows: it
/// makes exceptions of managed code of them, and hands on to the handlers that were there what did
/// not happen in managed code, as it has been told to. It also keeps the signals that nobody
/// handled before, but for those by which processes end. All others are given back.
class SignalHandlers {
 public:
  /// Made before the runtime is started.
  SignalHandlers();

  /// Called once, when the runtime has been started.
  void Share() const;

  /// How many there are that are not real-time signals. Those are left alone: the runtime takes
  /// some that nobody has.
  static constexpr std::size_t kCount = 32;

 private:
  void GiveBack() const;

  struct sigaction _before[kCount] = {};
};

}  // namespace Managed
