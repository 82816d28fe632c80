#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/job_gate.h"
#include "client/ctl/job_list.h"
#include "pipe/message_header.h"

namespace Ctl {
namespace {

struct EncodeOptions {
  std::string pipe;
  TimeLimit limit;
  GateOptions gate;
  OutputOptions output;
  bool shutdown = false;
  std::vector<std::string> paths;
};

ExitCode Encode(const EncodeOptions& options) {
  std::vector<Request> jobs = LoadJobs(options.paths);
  if (options.shutdown) jobs.back().messageType = Tagwright::eEncodeAndShutdown;
  CheckBeforeSending(jobs, options.gate);
  Tagwright::Client client(options.limit.Milliseconds());
  ConnectOrFail(client, options.pipe);
  JobOutput output(options.output, jobs.size(), client.ServerProcessId());
  SendInOrder(client, jobs, true, output);
  return output.Summarize();
}

}  // namespace

void AddEncodeCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command = app.add_subcommand("encode", "Send jobs to an encoder pipe");
  const auto options = std::make_shared<EncodeOptions>();
  command->add_option("--pipe", options->pipe, "Name of the pipe")->required();
  options->limit.AddTo(*command);
  options->gate.AddTo(*command);
  options->output.AddTo(*command);
  command->add_flag("--and-shutdown", options->shutdown,
                    "End the server with the last job (eEncodeAndShutdown)");
  command->add_option("JOB.xml", options->paths, "Job documents")->required();
  command->callback([options, &result] { result = Encode(*options); });
}

}  // namespace Ctl
