/// A tag as a JSON object:
///
///   {
///     "port_address": "USB001", "kind": "standard", "killed": false,
///     "crc": "0DAD", "pc": "3000", "epc": "0000 0000 0000 0000 0000 0000",
///     "banks": {"reserved": "0000 0000 0000 0000", "epc": ..., "tid": ..., "user": ...},
///     "locks": {"kill_password": "unlocked", ..., "user": "locked-forever"},
///     "user_block_words": 4, "permalocked_user_blocks": [0, 1]
///   }
///
/// The banks are what counts when it is read; port_address, crc, pc and epc are there for people.
#pragma once

#include <nlohmann/json.hpp>
#include <utility>

#include "simulator/tag/tag.h"
#include "simulator/tag/text.h"

namespace Simulator {

/// A JSON tree whose texts are wiped at the end: some of them are passwords.
struct WipedJson {
  nlohmann::ordered_json tree;

  explicit WipedJson(nlohmann::ordered_json json) : tree(std::move(json)) {}
  ~WipedJson() { Wipe(tree); }
  WipedJson(const WipedJson&) = delete;
  WipedJson& operator=(const WipedJson&) = delete;

 private:
  static void Wipe(nlohmann::ordered_json& node);
};

/// Without `withPasswords` the Reserved bank shows stars, which TagFromJson refuses.
nlohmann::ordered_json ToJson(WideView portAddress, const Tag& tag, bool withPasswords);

/// Throws std::exception when it is no tag. A tag without a kind is a standard one.
Tag TagFromJson(const nlohmann::ordered_json& json);

}  // namespace Simulator
