#include "simulator/component/fault_script.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "simulator/component/fault_counts.h"
#include "simulator/tag/shallow_json.h"
#include "simulator/tag/state_files.h"

namespace Simulator {
namespace {

using Json = nlohmann::json;

struct Member {
  std::string_view name;
  bool writes = false;
};

constexpr Member kMembers[] = {
    {"ZebraSDK"},
    {"TestManagedCodeAccessible"},
    {"InitLogging"},
    {"LogErrorEvent"},
    {"Connect"},
    {"Disconnect"},
    {"WriteEPC", true},
    {"WriteMemory", true},
    {"WriteUserMemory", true},
    {"SetAccessPassword", true},
    {"SetKillPassword", true},
    {"LockTag"},
    {"UnlockTag"},
    {"PermalockUserBlock"},
    {"KillTag"},
    {"Dispose"},
};

const Member& FindMember(const std::string& name) {
  const Member* member = std::ranges::find(kMembers, name, &Member::name);
  if (member == std::end(kMembers)) throw std::runtime_error("no such member: " + name);
  return *member;
}

const FaultForm& FormOf(const std::string& word, const Member& member) {
  const FaultForm* form = FindFaultForm(word);
  if (form == nullptr) throw std::runtime_error("no such fault: " + word);
  if (IsOfWrites(*form) && !member.writes) {
    throw std::runtime_error(word + " needs a member that writes, not " + std::string(member.name));
  }
  return *form;
}

/// Takes the values of one rule out of its object, so that what is left over is unknown.
class RuleReader {
 public:
  RuleReader(const Json& json, const Member& member) : _json(json), _member(member) {
    if (!json.is_object()) throw std::runtime_error("a rule is an object");
  }

  FaultRule Read() {
    FaultRule rule{.fault = {&FormOf(Text("fault").value_or(""), _member)}};
    rule.fault.text = FromUtf8(Text("text").value_or(""));
    rule.fault.delayMs = Number("delay_ms", 0).value_or(0);
    rule.fault.delayPerWordMs = Number("delay_per_word_ms", 0).value_or(0);
    rule.fault.words = Number("words", 0);
    if (const auto address = Text("port_address")) rule.portAddress = FromUtf8(*address);
    rule.card = Number("card", 1);
    rule.call = Number("call", 1);
    rule.every = Number("every", 1);
    rule.probability = Probability();
    rule.seed = Number("seed", 0).value_or(0);
    if (!_json.empty()) throw std::runtime_error("no such condition: " + _json.begin().key());
    return rule;
  }

 private:
  Json Take(const char* name) {
    const auto found = _json.find(name);
    if (found == _json.end()) return {};
    Json value = *found;
    _json.erase(found);
    return value;
  }

  std::optional<std::string> Text(const char* name) {
    const Json value = Take(name);
    if (value.is_null()) return std::nullopt;
    if (!value.is_string()) throw std::runtime_error(std::string(name) + " is a text");
    return value.get<std::string>();
  }

  std::optional<unsigned> Number(const char* name, unsigned least) {
    constexpr std::uint64_t kMost = INT32_MAX;
    const Json value = Take(name);
    if (value.is_null()) return std::nullopt;
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() < least ||
        value.get<std::uint64_t>() > kMost) {
      throw std::runtime_error(std::string(name) + " is a whole number from " +
                               std::to_string(least));
    }
    return value.get<unsigned>();
  }

  std::optional<double> Probability() {
    const Json value = Take("probability");
    if (value.is_null()) return std::nullopt;
    if (!value.is_number() || value.get<double>() < 0 || value.get<double>() > 1) {
      throw std::runtime_error("probability is a number from 0 to 1");
    }
    return value.get<double>();
  }

  Json _json;
  const Member& _member;
};

std::vector<FaultRule> RulesFromJson(const Json& json, const Member& member) {
  if (!json.is_array()) return {RuleReader(json, member).Read()};
  std::vector<FaultRule> rules;
  for (const Json& rule : json) rules.push_back(RuleReader(rule, member).Read());
  return rules;
}

}  // namespace

std::vector<std::string_view> MemberNames() {
  std::vector<std::string_view> names;
  for (const Member& member : kMembers) names.push_back(member.name);
  return names;
}

bool FaultRule::IsAt(const CallPlace& place) const {
  return portAddress.value_or(place.portAddress) == place.portAddress &&
         card.value_or(place.card) == place.card;
}

bool FaultRule::Chooses(unsigned count) const {
  if (call && count != *call) return false;
  if (every && count % *every != 0) return false;
  if (!probability) return true;
  const std::string draw = std::to_string(seed) + ":" + std::to_string(count) + ":draw";
  return HashText(draw) < *probability * (static_cast<double>(UINT32_MAX) + 1);
}

FaultScript FaultScript::Parse(std::string_view text) {
  if (!Json::accept(text)) throw std::runtime_error("it is no JSON object");
  const auto json = ParseShallowJson<Json>(text);
  if (!json.is_object()) throw std::runtime_error("it is no JSON object");
  FaultScript script;
  script._textHash = HashText(text);
  for (const auto& [name, rules] : json.items()) {
    script._rules.emplace(name, RulesFromJson(rules, FindMember(name)));
  }
  return script;
}

FaultScript FaultScript::Load() {
  const std::optional<std::string> text = ReadStateFile(StateFilePath("faults.json"));
  if (!text) return FaultScript();
  try {
    return Parse(*text);
  } catch (const std::exception& exception) {
    throw std::runtime_error(std::string("faults.json: ") + exception.what());
  }
}

std::vector<Fault> FaultScript::TakeCall(std::string_view member, const CallPlace& place) const {
  const auto found = _rules.find(member);
  if (found == _rules.end()) return {};
  const std::vector<FaultRule>& rules = found->second;
  std::vector<bool> counted;
  counted.reserve(rules.size());
  for (const FaultRule& rule : rules) counted.push_back(rule.NeedsCount() && rule.IsAt(place));
  std::vector<unsigned> counts(rules.size());
  if (std::ranges::count(counted, true) != 0) counts = CountCall(_textHash, member, counted);
  std::vector<Fault> faults;
  for (std::size_t index = 0; index < rules.size(); ++index) {
    if (!rules[index].IsAt(place) || !rules[index].Chooses(counts[index])) continue;
    faults.push_back(rules[index].fault);
    if (WordOf(*rules[index].fault.form) != "delay") break;
  }
  return faults;
}

}  // namespace Simulator
