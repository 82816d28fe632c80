#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/job_gate.h"
#include "client/ctl/job_list.h"
#include "client/ctl/side_by_side.h"
#include "client/ctl/system_error.h"
#include "client/server_process.h"
#include "client/text.h"
#include "encode/verify_managed_components.h"
#include "support/process_utility.h"

namespace Ctl {
namespace {

/// As many encoder servers as a controller can wait for at once.
constexpr std::uint32_t kMostEncoders = MAXIMUM_WAIT_OBJECTS;

/// How long a process whose connection is lost may take to end by itself.
constexpr DWORD kLostConnectionEndMs = 2000;

struct RunOptions {
  TimeLimit limit;
  GateOptions gate;
  OutputOptions output;
  std::uint32_t encoders = 0;  ///< 0: no controller, one encoder pipe.
  std::vector<std::string> paths;
};

/// A tagwright of this command's own and the connection to its first pipe.
class PrivateServer {
 public:
  /// Throws Failure when the process cannot be started or its pipe does not come.
  PrivateServer(Tagwright::ServerKind kind, DWORD timeoutMs)
      : _timeoutMs(timeoutMs), _pipeName(Tagwright::FreshPipeName()), _client(timeoutMs) {
    if (!_process.Start(_pipeName, kind)) {
      throw Failure(ExitCode::kLocal,
                    "cannot start the tagwright that belongs beside this program (" +
                        SystemErrorText(GetLastError()) + ")");
    }
    if (const auto error = _process.Connect(_client, timeoutMs)) {
      throw Failure(ExitCodeOf(*error), "tagwright did not open its pipe: " + Describe(*error));
    }
  }

  Tagwright::Client& FirstPipe() { return _client; }
  DWORD ProcessId() const { return _process.ProcessId(); }

  /// Asks a controller for one more encoder pipe and connects to it.
  std::unique_ptr<Tagwright::Client> AddEncoder(std::size_t number) {
    const std::string name = Tagwright::ToUtf8(_pipeName) + "-" + std::to_string(number);
    const Exchange added = Perform(
        _client, LoadRequest({Tagwright::eAddEncoder, Operand::kPipeName, name, "add-encoder"}));
    if (!added.Succeeded()) {
      throw Failure(ExitCodeOf(added),
                    "encoder " + std::to_string(number) + ": " + Describe(added));
    }
    auto encoder = std::make_unique<Tagwright::Client>(_timeoutMs);
    ConnectOrFail(*encoder, name);
    return encoder;
  }

  /// Shuts the server down, unless its connection is lost, and sees the process to its end; one
  /// that does not end is ended by force.
  ExitCode Stop() {
    ExitCode result = ExitCode::kSuccess;
    if (_client.IsConnected()) {
      const Exchange stopped = Perform(_client, {"shutdown", Tagwright::eShutdown, {}, {}});
      if (!stopped.Succeeded()) PrintError("shutdown: " + Describe(stopped));
      Note(result, ExitCodeOf(stopped));
    }
    Note(result, SeeProcessEnd(_client.IsConnected() ? _timeoutMs : kLostConnectionEndMs));
    return result;
  }

 private:
  ExitCode SeeProcessEnd(DWORD timeoutMs) {
    const std::optional<DWORD> exitCode = _process.WaitForExit(timeoutMs);
    if (!exitCode) {
      PrintError("tagwright does not end and is ended by force");
      return ExitCode::kTimeout;
    }
    if (*exitCode == 0) return ExitCode::kSuccess;
    PrintError("tagwright ended with exit code " + std::to_string(*exitCode));
    return ExitCode::kServerGone;
  }

  const DWORD _timeoutMs;
  const Tagwright::WideString _pipeName;
  Tagwright::ServerProcess _process;
  Tagwright::Client _client;
};

void SendJobs(PrivateServer& server, const std::vector<Request>& jobs, std::uint32_t encoderCount,
              JobOutput& output) {
  if (encoderCount == 0) return SendInOrder(server.FirstPipe(), jobs, true, output);
  std::vector<std::unique_ptr<Tagwright::Client>> encoders;
  for (std::uint32_t i = 1; i <= encoderCount; ++i) encoders.push_back(server.AddEncoder(i));
  SendSideBySide(encoders, jobs, output);
}

/// Whoever has installed the program alone has no component yet.
void SayWhatIsMissing() {
  const OString missing = MissingRequiredFiles(ProcessUtility::GetCurrentModuleDirectory());
  if (missing.IsEmpty()) return;
  PrintNote("missing beside tagwright: " + Tagwright::ToUtf8(missing.wstring()) +
            "; they come with the printer's component, or with the simulated printer");
}

ExitCode Run(const RunOptions& options) {
  const std::vector<Request> jobs = LoadJobs(options.paths);
  CheckBeforeSending(jobs, options.gate);
  PrivateServer server(
      options.encoders == 0 ? Tagwright::ServerKind::kEncoder : Tagwright::ServerKind::kController,
      options.limit.Milliseconds());
  JobOutput output(options.output, jobs.size(), server.ProcessId(), options.encoders > 1);
  SendJobs(server, jobs, options.encoders, output);
  ExitCode result = output.Summarize();
  Note(result, server.Stop());
  if (result != ExitCode::kSuccess) SayWhatIsMissing();
  return result;
}

}  // namespace

void AddRunCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("run", "Encode jobs with a tagwright started for them alone");
  const auto options = std::make_shared<RunOptions>();
  options->limit.AddTo(*command);
  options->gate.AddTo(*command);
  options->output.AddTo(*command);
  command
      ->add_option("--control", options->encoders,
                   "Start a controller with this many encoder pipes and use them side by side")
      ->check(CLI::Range(1U, static_cast<unsigned>(kMostEncoders)));
  command->add_option("JOB.xml", options->paths, "Job documents")->required();
  command->callback([options, &result] { result = Run(*options); });
}

}  // namespace Ctl
