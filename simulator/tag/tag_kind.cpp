#include "simulator/tag/tag_kind.h"

namespace Simulator {

const std::vector<TagKind>& BuiltInKinds() {
  static const std::vector<TagKind> kKinds = {
      {},
      {.name = "epc-only", .epcBankWords = 10, .userWords = 0},
      {.name = "large-user", .userWords = 512, .userBlockWords = 32},
  };
  return kKinds;
}

std::string ProblemOf(const TagKind& kind) {
  if (kind.epcBankWords < kMinEpcBankWords || kind.epcBankWords > kMaxEpcBankWords) {
    return "an EPC bank has 3 to 33 words";
  }
  if (kind.tid.size() < kMinTidWords || kind.tid.size() > kMaxBankWords) {
    return "a TID has 2 to 4096 words";
  }
  if (kind.tid[0] >> 8 != 0xE2 && kind.tid[0] >> 8 != 0xE0) return "a TID begins with E2 or E0";
  if (kind.userWords > kMaxBankWords) return "a User bank has 0 to 4096 words";
  if (kind.userBlockWords == 0) return "a block has at least one word";
  return {};
}

}  // namespace Simulator
