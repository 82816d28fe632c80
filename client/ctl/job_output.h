/// What is printed about jobs that were sent.
#pragma once

#include <CLI/CLI.hpp>
#include <mutex>
#include <string>
#include <vector>

#include "client/ctl/failure_reasons.h"
#include "client/ctl/request.h"

namespace Ctl {

/// The options --quiet, --json and --fail-fast.
struct OutputOptions {
  bool quiet = false;     ///< Nothing about what succeeded.
  bool json = false;      ///< One JSON object a line.
  bool failFast = false;  ///< Send nothing after the first failure.

  void AddTo(CLI::App& command);
};

/// Prints a line for each exchange, the reasons of a failure below it, and a summary in the end.
/// Several threads may report at once: what belongs together is printed together.
class JobOutput {
 public:
  /// `total` requests are to come; a single one has no summary. The others are as for
  /// FailureReasons.
  JobOutput(const OutputOptions& options, std::size_t total, DWORD serverProcessId = 0,
            bool sideBySide = false)
      : _options(options), _total(total), _reasons(serverProcessId, sideBySide) {}

  /// `place` stands in front of the label: "[2/3] " or "encoder 2: ".
  void Finish(const std::string& place, const Request& request, const Exchange& exchange);

  /// Whether --fail-fast forbids to send more.
  bool ShallStop();

  /// Prints the summary. The exit code is that of the first request that did not succeed.
  ExitCode Summarize();

 private:
  void PrintText(const std::string& place, const Request& request, const Exchange& exchange);
  void PrintJson(const Request& request, const Exchange& exchange);
  void PrintTextSummary() const;
  void PrintJsonSummary() const;

  const OutputOptions _options;
  const std::size_t _total;
  FailureReasons _reasons;
  std::mutex _mutex;  ///< Guards what follows, and keeps lines together.
  std::size_t _succeeded = 0;
  std::vector<std::string> _failed;
  ExitCode _result = ExitCode::kSuccess;
};

}  // namespace Ctl
