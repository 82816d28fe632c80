#include "simulator/tag/tag_store.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "simulator/tag/state_files.h"
#include "support/ostring.h"

namespace Simulator {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<const char*, kBankCount> kBankNames = {"reserved", "epc", "tid", "user"};
constexpr std::array<const char*, kLockFieldCount> kLockFieldNames = {
    "user", "tid", "epc", "access_password", "kill_password"};
constexpr std::array<const char*, 4> kLockStateNames = {"unlocked", "unlocked-forever", "locked",
                                                        "locked-forever"};

/// A JSON tree whose texts are wiped at the end: some of them are passwords.
struct WipedJson {
  Json tree;
  ~WipedJson() { Wipe(tree); }

  static void Wipe(Json& node) {
    if (node.is_string()) {
      std::string& text = node.get_ref<std::string&>();
      SecureWipe(text.data(), text.size());
    } else if (node.is_structured()) {
      for (Json& child : node) Wipe(child);
    }
  }
};

struct WipedText {
  std::string text;
  ~WipedText() { SecureWipe(text.data(), text.size()); }
};

Words EpcOf(const TagMemory& memory, std::size_t epcWords) {
  const Words& bank = memory.banks[static_cast<std::size_t>(Bank::kEpc)];
  const auto first = bank.begin() + kFirstEpcWord;
  return Words(first, first + static_cast<std::ptrdiff_t>(epcWords));
}

Json BlocksToJson(const TagMemory& memory) {
  Json blocks = Json::array();
  for (std::size_t block = 0; block < kUserBlockCount; ++block) {
    if (memory.permalockedBlocks[block]) blocks.push_back(block);
  }
  return blocks;
}

Json ToJson(WideView portAddress, const Tag& tag) {
  const TagMemory& memory = tag.Memory();
  const Words& epcBank = memory.banks[static_cast<std::size_t>(Bank::kEpc)];
  Json json = {{"port_address", ToUtf8(portAddress)},
               {"killed", memory.killed},
               {"crc", FormatWords({epcBank[kCrcWord]})},
               {"pc", FormatWords({epcBank[kPcWord]})},
               {"epc", FormatWords(EpcOf(memory, tag.EpcWords()))}};
  for (std::size_t bank = 0; bank < kBankCount; ++bank) {
    json["banks"][kBankNames[bank]] = FormatWords(memory.banks[bank]);
  }
  for (int field = kLockFieldCount - 1; field >= 0; --field) {
    const auto lockField = static_cast<LockField>(field);
    json["locks"][LockFieldName(lockField)] = LockStateName(memory.locks.Of(lockField));
  }
  json["permalocked_user_blocks"] = BlocksToJson(memory);
  return json;
}

Words BankFromJson(const Json& json, std::size_t bank) {
  const std::string& text = json.at("banks").at(kBankNames[bank]).get_ref<const std::string&>();
  std::optional<Words> words = ParseWords(std::string_view(text));
  if (!words || words->size() != kBankWords[bank]) {
    throw std::invalid_argument(std::string("bank ") + kBankNames[bank]);
  }
  return std::move(*words);
}

LockState LockStateFromName(const std::string& name) {
  for (std::size_t state = 0; state < kLockStateNames.size(); ++state) {
    if (name == kLockStateNames[state]) return static_cast<LockState>(state);
  }
  throw std::invalid_argument("lock state");
}

Tag FromJson(const Json& json) {
  TagMemory memory;
  for (std::size_t bank = 0; bank < kBankCount; ++bank) {
    memory.banks[bank] = BankFromJson(json, bank);
  }
  for (int field = 0; field < kLockFieldCount; ++field) {
    const auto lockField = static_cast<LockField>(field);
    memory.locks.Set(lockField, LockStateFromName(json.at("locks").at(LockFieldName(lockField))));
  }
  for (const Json& block : json.at("permalocked_user_blocks")) {
    memory.permalockedBlocks.at(block.get<std::size_t>()) = true;
  }
  memory.killed = json.at("killed");
  return Tag(std::move(memory));
}

bool IsPlain(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z') || character == '-' || character == '_' ||
         character == '.';
}

/// The fault script lies in the same folder, where letter case may not tell files apart.
bool IsNameOfFaultScript(const std::string& address) {
  return OString(address.c_str()).CompareNoCase("faults") == 0;
}

std::string Escape(char character) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(character);
  return {'%', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

}  // namespace

const char* LockStateName(LockState state) {
  return kLockStateNames[static_cast<std::size_t>(state)];
}

const char* LockFieldName(LockField field) {
  return kLockFieldNames[static_cast<std::size_t>(field)];
}

WideText TagFilePath(WideView portAddress) {
  const std::string address = ToUtf8(portAddress);
  const bool isTaken = IsNameOfFaultScript(address);
  std::string name;
  for (const char character : address) {
    const bool plain = IsPlain(character) && !(name.empty() && isTaken);
    name += plain ? std::string(1, character) : Escape(character);
  }
  return StateFilePath(name + ".json");
}

Tag LoadTag(WideView portAddress) {
  const WideText path = TagFilePath(portAddress);
  std::optional<std::string> stored = ReadStateFile(path);
  if (!stored) return Tag();
  const WipedText text{std::move(*stored)};
  try {
    const WipedJson json{Json::parse(text.text)};
    return FromJson(json.tree);
  } catch (const std::exception&) {
    // The parser's own words may quote the file.
    throw std::runtime_error("The file of the simulated tag is damaged: " + ToUtf8(path));
  }
}

void SaveTag(WideView portAddress, const Tag& tag) {
  const WipedJson json{ToJson(portAddress, tag)};
  constexpr int kIndent = 2;
  const WipedText text{json.tree.dump(kIndent) + "\n"};
  ReplaceStateFile(TagFilePath(portAddress), text.text);
}

}  // namespace Simulator
