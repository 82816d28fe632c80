#include "simulator/component/fault_counts.h"

#include <nlohmann/json.hpp>
#include <optional>

#include "simulator/tag/shallow_json.h"
#include "simulator/tag/state_files.h"

namespace Simulator {
namespace {

using Json = nlohmann::json;

/// A file that cannot be understood counts as none.
Json LoadCounts(const WideText& path, std::uint32_t script) {
  try {
    auto json = ParseShallowJson<Json>(ReadStateFile(path).value_or("{}"));
    if (json.value("script", 0U) == script && json.at("counts").is_object()) return json;
  } catch (const std::exception&) {
    // As for a file of another script.
  }
  return {{"script", script}, {"counts", Json::object()}};
}

}  // namespace

std::uint32_t HashText(std::string_view text) {
  constexpr std::uint32_t kOffset = 2166136261U;
  constexpr std::uint32_t kPrime = 16777619U;
  std::uint32_t hash = kOffset;
  for (const char character : text) hash = (hash ^ static_cast<unsigned char>(character)) * kPrime;
  return hash;
}

std::vector<unsigned> CountCall(std::uint32_t script, std::string_view member,
                                const std::vector<bool>& counted) {
  const WideText path = StateFilePath("fault_counts.json");
  Json json = LoadCounts(path, script);
  Json& stored = json["counts"][std::string(member)];
  if (!stored.is_array()) stored = Json::array();
  std::vector<unsigned> counts(counted.size());
  for (std::size_t rule = 0; rule < counts.size(); ++rule) {
    if (rule < stored.size() && stored[rule].is_number_unsigned()) counts[rule] = stored[rule];
    if (counted[rule]) ++counts[rule];
  }
  stored = counts;
  ReplaceStateFile(path, json.dump() + "\n");
  return counts;
}

}  // namespace Simulator
