#include "simulator/component/fault_script.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "simulator/tag/state_files.h"

namespace Simulator {
namespace {

using Json = nlohmann::json;

FaultKind KindOf(const std::string& name) {
  static const std::map<std::string_view, FaultKind> kKinds = {
      {"false", FaultKind::kReturnFalse},
      {"throw-managed", FaultKind::kThrowManaged},
      {"throw-framework", FaultKind::kThrowFramework},
      {"throw-standard", FaultKind::kThrowStandard},
      {"throw-unknown", FaultKind::kThrowUnknown},
      {"delay", FaultKind::kDelay},
      {"hang", FaultKind::kHang},
      {"crash-read", FaultKind::kCrashRead},
      {"crash-divide", FaultKind::kCrashDivide},
      {"crash-illegal", FaultKind::kCrashIllegal},
      {"crash-stack", FaultKind::kCrashStack},
      {"crash-noexcept", FaultKind::kCrashNoexcept},
  };
  const auto found = kKinds.find(name);
  if (found == kKinds.end()) throw std::invalid_argument("no such fault: " + name);
  return found->second;
}

Fault FaultFromJson(const Json& json) {
  Fault fault;
  fault.kind = KindOf(json.at("fault"));
  fault.text = FromUtf8(json.value("text", std::string()));
  fault.delayMs = json.value("delay_ms", DWORD{0});
  return fault;
}

}  // namespace

FaultScript FaultScript::Load() {
  FaultScript script;
  try {
    const std::optional<std::string> text = ReadStateFile(StateFilePath("faults.json"));
    if (!text) return script;
    const Json json = Json::parse(*text);
    for (const auto& [member, fault] : json.items()) {
      script._faults.emplace(member, FaultFromJson(fault));
    }
  } catch (const std::exception& exception) {
    script._faults.clear();
    script._problem = std::string("faults.json is ignored: ") + exception.what();
  }
  return script;
}

Fault FaultScript::For(std::string_view member) const {
  const auto found = _faults.find(member);
  return found == _faults.end() ? Fault{} : found->second;
}

}  // namespace Simulator
