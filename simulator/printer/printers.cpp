#include "simulator/printer/printers.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "simulator/tag/shallow_json.h"
#include "simulator/tag/state_files.h"

namespace Simulator {
namespace {

using Json = nlohmann::json;

Words TidFromJson(const Json& json) {
  std::optional<Words> words = ParseSpacedWords(json.get<std::string>());
  if (!words) throw std::runtime_error("a TID is made of words of four hexadecimal digits");
  return std::move(*words);
}

void ReadValue(const std::string& name, const Json& value, TagKind& kind) {
  if (name == "tid") {
    kind.tid = TidFromJson(value);
  } else if (name == "epc_bank_words") {
    kind.epcBankWords = value.get<std::size_t>();
  } else if (name == "user_words") {
    kind.userWords = value.get<std::size_t>();
  } else if (name == "user_block_words") {
    kind.userBlockWords = value.get<std::size_t>();
  } else {
    throw std::runtime_error("a kind has no \"" + name + "\"");
  }
}

TagKind KindFromJson(const std::string& name, const Json& json) {
  TagKind kind{.name = name};
  for (const auto& [key, value] : json.items()) ReadValue(key, value, kind);
  const std::string problem = ProblemOf(kind);
  if (!problem.empty()) throw std::runtime_error("kind \"" + name + "\": " + problem);
  return kind;
}

void CheckSections(const Json& json) {
  for (const auto& [section, value] : json.items()) {
    if ((section != "kinds" && section != "printers") || !value.is_object()) {
      throw std::runtime_error("it has the objects \"kinds\" and \"printers\" alone");
    }
  }
}

}  // namespace

void Printers::Read(const std::string& text) {
  const auto json = ParseShallowJson<Json>(text);
  CheckSections(json);
  const Json kinds = json.value("kinds", Json::object());
  for (const auto& [name, kind] : kinds.items()) {
    if (FindKind(name) != nullptr) throw std::runtime_error("there is a kind \"" + name + "\"");
    _kinds.push_back(KindFromJson(name, kind));
  }
  for (const auto& [address, kind] : json.at("printers").items()) {
    const auto name = kind.get<std::string>();
    if (FindKind(name) == nullptr) throw std::runtime_error("there is no kind \"" + name + "\"");
    _printers.emplace(FromUtf8(address), name);
  }
}

Printers Printers::Load() {
  Printers printers;
  const std::optional<std::string> text = ReadStateFile(StateFilePath("printers.json"));
  if (!text) return printers;
  printers._isEveryAddressOne = false;
  try {
    printers.Read(*text);
  } catch (const std::exception& exception) {
    throw std::runtime_error(std::string("printers.json: ") + exception.what());
  }
  return printers;
}

const TagKind* Printers::KindAt(WideView portAddress) const {
  if (portAddress.empty()) return nullptr;
  if (_isEveryAddressOne) return &_kinds.front();
  const auto found = _printers.find(portAddress);
  return found == _printers.end() ? nullptr : FindKind(found->second);
}

const TagKind* Printers::FindKind(std::string_view name) const {
  const auto found = std::ranges::find(_kinds, name, &TagKind::name);
  return found == _kinds.end() ? nullptr : &*found;
}

std::vector<WideText> Printers::Addresses() const {
  std::vector<WideText> addresses;
  for (const auto& [address, kind] : _printers) addresses.push_back(address);
  return addresses;
}

}  // namespace Simulator
