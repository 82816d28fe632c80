#include "simulator/tag/tag_json.h"

#include <optional>
#include <stdexcept>

#include "simulator/tag/lock_names.h"

namespace Simulator {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<const char*, kBankCount> kBankNames = {"reserved", "epc", "tid", "user"};
constexpr const char* kHiddenPasswords = "**** **** **** ****";

Json BlocksToJson(const TagMemory& memory) {
  Json blocks = Json::array();
  for (std::size_t block = 0; block < memory.permalockedBlocks.size(); ++block) {
    if (memory.permalockedBlocks[block]) blocks.push_back(block);
  }
  return blocks;
}

Json BanksToJson(const TagMemory& memory, bool withPasswords) {
  Json banks;
  for (std::size_t bank = 0; bank < kBankCount; ++bank) {
    banks[kBankNames[bank]] = FormatWords(memory.banks[bank]);
  }
  if (!withPasswords) banks[kBankNames[0]] = kHiddenPasswords;
  return banks;
}

Json LocksToJson(const LockBits& locks) {
  Json json;
  for (int field = kLockFieldCount - 1; field >= 0; --field) {
    const auto lockField = static_cast<LockField>(field);
    json[LockFieldName(lockField)] = LockStateName(locks.Of(lockField));
  }
  return json;
}

Words WordsFromJson(const Json& json) {
  std::optional<Words> words = ParseSpacedWords(json.get_ref<const std::string&>());
  if (!words) throw std::invalid_argument("a bank is not made of words");
  return std::move(*words);
}

}  // namespace

void WipedJson::Wipe(Json& node) {
  if (node.is_string()) {
    std::string& text = node.get_ref<std::string&>();
    SecureWipe(text.data(), text.size());
  } else if (node.is_structured()) {
    for (Json& child : node) Wipe(child);
  }
}

Json ToJson(WideView portAddress, const Tag& tag, bool withPasswords) {
  const TagMemory& memory = tag.Memory();
  const Words& epcBank = memory.Of(Bank::kEpc);
  return {{"port_address", ToUtf8(portAddress)},
          {"kind", memory.kindName},
          {"killed", memory.killed},
          {"crc", FormatWords({epcBank[kCrcWord]})},
          {"pc", FormatWords({epcBank[kPcWord]})},
          {"epc", FormatWords(tag.Epc())},
          {"banks", BanksToJson(memory, withPasswords)},
          {"locks", LocksToJson(memory.locks)},
          {"user_block_words", memory.userBlockWords},
          {"permalocked_user_blocks", BlocksToJson(memory)}};
}

Tag TagFromJson(const Json& json) {
  const TagKind standard;
  TagMemory memory;
  memory.kindName = json.value("kind", standard.name);
  memory.killed = json.at("killed");
  for (std::size_t bank = 0; bank < kBankCount; ++bank) {
    memory.banks[bank] = WordsFromJson(json.at("banks").at(kBankNames[bank]));
  }
  for (int field = 0; field < kLockFieldCount; ++field) {
    const auto lockField = static_cast<LockField>(field);
    memory.locks.Set(
        lockField,
        LockStateFromName(
            json.at("locks").at(LockFieldName(lockField)).get_ref<const std::string&>()));
  }
  memory.userBlockWords = json.value("user_block_words", standard.userBlockWords);
  if (memory.userBlockWords == 0) throw std::invalid_argument("user_block_words");
  memory.permalockedBlocks.resize(memory.UserBlockCount());
  for (const Json& block : json.at("permalocked_user_blocks")) {
    memory.permalockedBlocks.at(block.get<std::size_t>()) = true;
  }
  return Tag(std::move(memory));
}

}  // namespace Simulator
