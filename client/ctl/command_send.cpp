#include <iostream>
#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/job_list.h"
#include "client/ctl/verbs.h"

namespace Ctl {
namespace {

struct SendOptions {
  std::string pipe;
  TimeLimit limit;
  std::vector<std::string> words;
};

std::vector<Request> LoadRequests(const std::vector<std::string>& words) {
  std::vector<Request> requests;
  for (const Verb& verb : ParseVerbs(words)) requests.push_back(LoadRequest(verb));
  return requests;
}

/// A line that cannot be understood or loaded is reported, and the next one read.
ExitCode AnswerLine(Tagwright::Client& client, const std::string& line) {
  try {
    return SendInOrder(client, LoadRequests(SplitWords(line)), false);
  } catch (const Failure& failure) {
    PrintError(failure.what());
    return failure.Code();
  }
}

ExitCode AnswerLines(Tagwright::Client& client, std::istream& input) {
  ExitCode result = ExitCode::kSuccess;
  for (std::string line; client.IsConnected() && std::getline(input, line);) {
    Note(result, AnswerLine(client, line));
  }
  return result;
}

ExitCode Send(const SendOptions& options) {
  Tagwright::Client client(options.limit.Milliseconds());
  if (options.words == std::vector<std::string>{"-"}) {
    ConnectOrFail(client, options.pipe);
    return AnswerLines(client, std::cin);
  }
  const std::vector<Request> requests = LoadRequests(options.words);
  ConnectOrFail(client, options.pipe);
  return SendInOrder(client, requests, false);
}

}  // namespace

void AddSendCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("send", "Send requests over one connection, in order");
  const auto options = std::make_shared<SendOptions>();
  command->add_option("--pipe", options->pipe, "Name of the pipe")->required();
  options->limit.AddTo(*command);
  command
      ->add_option("VERB", options->words,
                   "encode JOB.xml, encode-and-shutdown JOB.xml, shutdown, keep-alive, "
                   "add-encoder NAME, raw TYPE [FILE]; or - to read them from standard input, "
                   "a line each")
      ->required();
  command->callback([options, &result] { result = Send(*options); });
}

}  // namespace Ctl
