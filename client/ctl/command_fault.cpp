#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "client/check/nearest_word.h"
#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "simulator/component/fault_script.h"
#include "simulator/tag/state_files.h"

namespace Ctl {
namespace {

using Json = nlohmann::ordered_json;

struct FaultOptions {
  bool clear = false;
  std::string member;
  std::string word;
  /// The other values of the rule, under their names in the file.
  Json values = Json::object();
};

Simulator::WideText ScriptPath() { return Simulator::StateFilePath("faults.json"); }

/// Throws Failure (kLocal) for a script that the component would refuse.
Json LoadScript() {
  const std::string text = Simulator::ReadStateFile(ScriptPath()).value_or("{}");
  try {
    Simulator::FaultScript::Parse(text);
  } catch (const std::exception& problem) {
    throw Failure(ExitCode::kLocal, std::string("faults.json: ") + problem.what());
  }
  return Json::parse(text);
}

void ShowScript() {
  const Json script = LoadScript();
  if (script.empty()) PrintLine("no faults");
  for (const auto& [member, rules] : script.items()) {
    for (const Json& rule : rules.is_array() ? rules : Json::array({rules})) {
      PrintLine(member + " " + rule.dump());
    }
  }
}

using Words = std::vector<std::string_view>;

/// "a, b, c"
std::string Listed(const Words& words) {
  std::string list;
  for (const std::string_view word : words) list += (list.empty() ? "" : ", ") + std::string(word);
  return list;
}

void RequireWord(const std::string& word, const Words& words, const char* what) {
  if (std::ranges::find(words, word) != words.end()) return;
  throw Failure(ExitCode::kUsage,
                "no such " + std::string(what) + ": " + word + Tagwright::DidYouMean(word, words));
}

void AddRule(const FaultOptions& options) {
  RequireWord(options.member, Simulator::MemberNames(), "member");
  RequireWord(options.word, Simulator::FaultWords(), "fault");
  Json script = LoadScript();
  Json rule = {{"fault", options.word}};
  rule.update(options.values);
  Json& rules = script[options.member];
  if (!rules.is_array()) rules = rules.is_null() ? Json::array() : Json::array({rules});
  rules.push_back(rule);
  const std::string text = script.dump(2) + "\n";
  try {
    Simulator::FaultScript::Parse(text);
  } catch (const std::exception& problem) {
    throw Failure(ExitCode::kUsage, problem.what());
  }
  Simulator::ReplaceStateFile(ScriptPath(), text);
  PrintLine(options.member + " " + rule.dump());
}

void RunFault(const FaultOptions& options) {
  if (options.clear) {
    DeleteFileW(ScriptPath().c_str());
    return PrintLine("no faults");
  }
  if (options.member.empty()) return ShowScript();
  if (options.word.empty())
    throw Failure(ExitCode::kUsage, "which fault of " + options.member + "? There are " +
                                        Listed(Simulator::FaultWords()));
  AddRule(options);
}

/// An option whose value goes into the rule as `key`.
template <class Value>
void AddValue(CLI::App& command, const std::shared_ptr<FaultOptions>& options, const char* name,
              const char* key, const char* help) {
  command.add_option_function<Value>(
      name, [options, key](const Value& value) { options->values[key] = value; }, help);
}

void AddConditions(CLI::App& command, const std::shared_ptr<FaultOptions>& options) {
  AddValue<std::string>(command, options, "--address", "port_address", "At this port address only");
  AddValue<unsigned>(command, options, "--card", "card", "For this card of the feeder only");
  AddValue<unsigned>(command, options, "--call", "call", "In this call only, from 1");
  AddValue<unsigned>(command, options, "--every", "every", "In each n-th call");
  AddValue<double>(command, options, "--probability", "probability", "By chance, 0 to 1");
  AddValue<unsigned>(command, options, "--seed", "seed", "Which chance: repeatable");
}

}  // namespace

void AddFaultCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("fault", "Show or add what goes wrong in the simulated printer");
  const auto options = std::make_shared<FaultOptions>();
  command->add_option("MEMBER", options->member, Listed(Simulator::MemberNames()));
  command->add_option("FAULT", options->word, Listed(Simulator::FaultWords()));
  command->add_flag("--clear", options->clear, "Let nothing go wrong any more");
  AddConditions(*command, options);
  AddValue<unsigned>(*command, options, "--delay", "delay_ms", "Wait so many ms first");
  AddValue<unsigned>(*command, options, "--delay-per-word", "delay_per_word_ms",
                     "Wait so many ms for each data word as well");
  AddValue<unsigned>(*command, options, "--words", "words",
                     "How many words an interrupted write still writes");
  AddValue<std::string>(*command, options, "--text", "text", "The exception's message");
  command->callback([options, &result] {
    RunFault(*options);
    result = ExitCode::kSuccess;
  });
}

}  // namespace Ctl
