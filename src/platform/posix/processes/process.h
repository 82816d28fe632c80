/// A process that the layer opened or started, bound to it by a pidfd.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>

#include "platform/posix/kernel/unique_fd.h"
#include "platform/posix/kernel/wait_engine.h"

namespace platform {

/// Signalled when the process has ended. A child is reaped then, also if nobody has a handle any
/// more.
class Process final : public Waitable {
 public:
  /// Null with errno set when there is no process with that id.
  static std::shared_ptr<Process> Open(pid_t pid, bool isChild);

  Process(UniqueFd pidFd, bool isChild) : _pidFd(std::move(pidFd)), _isChild(isChild) {}
  ~Process() override;

  /// Both return a system error code, 0 for success.
  DWORD Kill(DWORD exitCode);
  /// STILL_ACTIVE while it runs. ERROR_NOT_SUPPORTED when it has ended and was no child of this
  /// process: the system tells nobody else.
  DWORD GetExitCode(DWORD& exitCode);

  bool IsSignalled(const Thread& waiter) override;

 private:
  void Watch();
  void OnEnded();
  bool HasEnded() const;
  void Reap();

  const UniqueFd _pidFd;
  const bool _isChild;
  std::uint64_t _watchId = 0;  // Written once, before the process is handed out.
  // Guarded by the engine's lock.
  bool _hasEnded = false;
  bool _isExitCodeKnown = false;
  bool _wasKilledByUs = false;
  DWORD _killExitCode = 0;
  DWORD _exitCode = 0;
};

}  // namespace platform
