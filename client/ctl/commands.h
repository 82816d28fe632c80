/// The subcommands of tagwrightctl. Each Add function defines one: its options, and what runs when
/// it is chosen. A command stores its exit code in `result`, or throws Failure.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

#include "client/ctl/failure.h"
#include "platform/windows_api.h"

namespace Ctl {

void AddSendCommand(CLI::App& app, ExitCode& result);
void AddEncodeCommand(CLI::App& app, ExitCode& result);
void AddRunCommand(CLI::App& app, ExitCode& result);
void AddCheckCommand(CLI::App& app, ExitCode& result);
void AddLogMaskCommand(CLI::App& app, ExitCode& result);
void AddLogCommand(CLI::App& app, ExitCode& result);
void AddLockActionCommand(CLI::App& app, ExitCode& result);
void AddPathsCommand(CLI::App& app, ExitCode& result);
void AddStatusCommand(CLI::App& app, ExitCode& result);
void AddDebugOutputCommand(CLI::App& app, ExitCode& result);
void AddTagCommand(CLI::App& app, ExitCode& result);
void AddCardsCommand(CLI::App& app, ExitCode& result);
void AddFaultCommand(CLI::App& app, ExitCode& result);
void AddComponentCommand(CLI::App& app, ExitCode& result);

/// Prints the log masks and the log files of tagwright and of every component that has a mask.
void ShowLogMasks();

/// The --timeout option: milliseconds for one request, 0 for no limit.
struct TimeLimit {
  /// Longer than any job takes, and than the 15 s that a controller may take to stop its encoders.
  std::uint32_t timeoutMs = 60000;

  void AddTo(CLI::App& command) {
    command.add_option("--timeout", timeoutMs, "Time limit of a request in ms, 0 for none")
        ->capture_default_str();
  }
  DWORD Milliseconds() const { return timeoutMs == 0 ? INFINITE : timeoutMs; }
};

/// Of several exit codes the first that is no success counts.
inline void Note(ExitCode& result, ExitCode code) {
  if (result == ExitCode::kSuccess) result = code;
}

}  // namespace Ctl
