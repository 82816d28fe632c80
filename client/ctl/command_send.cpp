#include <iostream>
#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/job_gate.h"
#include "client/ctl/job_list.h"
#include "client/ctl/verbs.h"

namespace Ctl {
namespace {

struct SendOptions {
  std::string pipe;
  TimeLimit limit;
  GateOptions gate;
  std::vector<std::string> words;
};

std::vector<Request> LoadRequests(const std::vector<std::string>& words) {
  std::vector<Request> requests;
  for (const Verb& verb : ParseVerbs(words)) requests.push_back(LoadRequest(verb));
  return requests;
}

void PrintHelp() {
  PrintLine(
      "encode JOB.xml               run a job\n"
      "encode-and-shutdown JOB.xml  run a job and end the server\n"
      "shutdown                     end the server\n"
      "keep-alive                   restart the idle time (control pipe)\n"
      "add-encoder NAME             create an encoder pipe (control pipe)\n"
      "raw TYPE [FILE]              send any message type\n"
      "help, quit                   this text; leave, as at the end of the input\n"
      "# ...                        a comment");
}

/// The input of `send -`: one line of verbs after another.
class Dialogue {
 public:
  Dialogue(Tagwright::Client& client, const GateOptions& gate) : _client(client), _gate(gate) {}

  ExitCode Run(std::istream& input) {
    for (std::string line; !_quit && _client.IsConnected() && std::getline(input, line);) {
      Answer(line);
    }
    return _result;
  }

 private:
  /// A line that cannot be understood or loaded is reported, and the next one read.
  void Answer(const std::string& line) try {
    const std::vector<std::string> words = SplitWords(line);
    if (words.empty() || words.front().starts_with('#')) return;
    if (words == std::vector<std::string>{"help"}) return PrintHelp();
    _quit = words == std::vector<std::string>{"quit"};
    if (!_quit) Send(LoadRequests(words));
  } catch (const Failure& failure) {
    PrintError(failure.what());
    Note(_result, failure.Code());
  }

  void Send(const std::vector<Request>& requests) {
    CheckBeforeSending(requests, _gate);
    JobOutput output({}, 0, _client.ServerProcessId());
    SendInOrder(_client, requests, false, output);
    Note(_result, output.Summarize());
  }

  Tagwright::Client& _client;
  const GateOptions& _gate;
  ExitCode _result = ExitCode::kSuccess;
  bool _quit = false;
};

ExitCode Send(const SendOptions& options) {
  Tagwright::Client client(options.limit.Milliseconds());
  if (options.words == std::vector<std::string>{"-"}) {
    ConnectOrFail(client, options.pipe);
    return Dialogue(client, options.gate).Run(std::cin);
  }
  const std::vector<Request> requests = LoadRequests(options.words);
  CheckBeforeSending(requests, options.gate);
  ConnectOrFail(client, options.pipe);
  JobOutput output({}, 0, client.ServerProcessId());
  SendInOrder(client, requests, false, output);
  return output.Summarize();
}

}  // namespace

void AddSendCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("send", "Send requests over one connection, in order");
  const auto options = std::make_shared<SendOptions>();
  command->add_option("--pipe", options->pipe, "Name of the pipe")->required();
  options->limit.AddTo(*command);
  options->gate.AddTo(*command);
  command
      ->add_option("VERB", options->words,
                   "encode JOB.xml, encode-and-shutdown JOB.xml, shutdown, keep-alive, "
                   "add-encoder NAME, raw TYPE [FILE]; or - to read them from standard input, "
                   "a line each")
      ->required();
  command->callback([options, &result] { result = Send(*options); });
}

}  // namespace Ctl
