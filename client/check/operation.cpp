#include "client/check/operation.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "client/check/lock_action.h"
#include "encode/operations.h"

namespace Tagwright {
namespace {

constexpr const char* kBankNames[] = {"Reserved", "EPC", "TID", "User"};
constexpr int kBankCount = 4;
constexpr int kReservedBank = 0;
constexpr int kEpcBank = 1;
constexpr int kTidBank = 2;
constexpr int kReservedWords = 4;
/// CRC and PC stand before the EPC in its bank.
constexpr int kWordsBeforeEpc = 2;

constexpr int kKillPassword = 1;
constexpr int kAccessPassword = 2;

std::string Count(int number, const std::string& noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

/// Only for a number of `kBankNames`.
int WordsOf(const TagSizes& tag, int bank) {
  const int words[kBankCount] = {kReservedWords, tag.epcBank, tag.tidBank, tag.userBank};
  return words[bank];
}

std::string OnSuchATag(const TagSizes& tag) {
  return tag.kind.empty() ? " on a common tag" : " on a tag of kind " + tag.kind;
}

void ExplainPrinter(Operation& operation) {
  operation.Does("connects to the printer at \"" + operation.Text("port_address") +
                 "\", port type " + std::to_string(operation.Number("port_type")) +
                 (operation.Text("uhfEncodeMode_ReaderConnectPerCard") == "1"
                      ? ", the reader anew for every card"
                      : ""));
  if (operation.Has("port_address") && operation.Text("port_address").empty()) {
    operation.Doubt("port_address", "port_address is empty");
  }
}

void ExplainEpcWrite(Operation& operation) {
  const int words = operation.Words("data");
  operation.Does("writes the EPC: " + Count(words * 16, "bit"));
  const int room = operation.Tag().epcBank - kWordsBeforeEpc;
  if (words > room) {
    operation.Doubt("data", "an EPC has at most " + Count(room, "word") +
                                OnSuchATag(operation.Tag()) + ", not " + std::to_string(words));
  }
  if (operation.Number("offset") != 0) {
    operation.Doubt("offset",
                    "offset is not used for segment 1: the EPC is written from its start");
  }
}

void CheckRange(Operation& operation, int bank, int offset, int words) {
  const int size = WordsOf(operation.Tag(), bank);
  if (offset < 0) {
    operation.Doubt("offset", "offset " + std::to_string(offset) + " lies before the bank");
  } else if (offset + static_cast<long long>(words) > size) {
    operation.Doubt("offset", Count(words, "word") + " from word " + std::to_string(offset) +
                                  " end past the " + kBankNames[bank] + " bank, which has " +
                                  Count(size, "word") + OnSuchATag(operation.Tag()));
  }
}

void CheckBank(Operation& operation, int bank, int words) {
  if (bank < 0 || bank >= kBankCount) {
    operation.Doubt("segment", "there is no bank " + std::to_string(bank) +
                                   ": 0 is Reserved, 1 EPC, 2 TID, 3 User");
    return;
  }
  if (bank == kReservedBank) {
    operation.Doubt("segment",
                    "segment 0 is the Reserved bank: this overwrites the kill password (words 0 "
                    "and 1) or the access password (words 2 and 3)");
  }
  if (bank == kTidBank) {
    operation.Doubt("segment", "the TID bank is written by the chip's maker; tags refuse a write");
  }
  CheckRange(operation, bank, operation.Number("offset"), words);
}

void ExplainWrite(Operation& operation) {
  const int bank = operation.Number("segment");
  if (bank == kEpcBank) return ExplainEpcWrite(operation);
  const int words = operation.Words("data");
  const std::string name = bank >= 0 && bank < kBankCount
                               ? std::string("the ") + kBankNames[bank] + " bank"
                               : "bank " + std::to_string(bank);
  operation.Does("writes " + Count(words, "word") + " to " + name + " from word " +
                 std::to_string(operation.Number("offset")));
  if (!operation.Has("offset")) {
    operation.Doubt("offset", "offset is missing: the write starts at word 0");
  }
  CheckBank(operation, bank, words);
}

void ExplainPermalock(Operation& operation) {
  const int first = operation.Number("startblock");
  const int count = operation.Number("blockcount");
  const TagSizes& tag = operation.Tag();
  const int blocks = (tag.userBank + tag.userBlock - 1) / tag.userBlock;
  operation.Does("permanently locks " + Count(count, "block") + " of the User bank from block " +
                 std::to_string(first));
  for (const char* name : {"startblock", "blockcount"}) {
    if (!operation.Has(name)) operation.Doubt(name, std::string(name) + " is missing: 0 is taken");
  }
  if (count <= 0) {
    operation.Doubt("blockcount", "blockcount " + std::to_string(count) + " locks no block");
  } else if (first < 0 || first + static_cast<long long>(count) > blocks) {
    operation.Doubt("startblock", "the blocks reach past the User bank, which has " +
                                      Count(blocks, "block") + " of " +
                                      Count(tag.userBlock, "word") + OnSuchATag(tag));
  }
  if (operation.Has("lock_action")) {
    operation.Doubt("lock_action", "lock_action is not used together with block=\"yes\"");
  }
}

void CheckLockAction(Operation& operation) {
  const int action = operation.Number("lock_action");
  const std::string doubt = DoubtAboutLockAction(static_cast<std::uint32_t>(action));
  if (!doubt.empty() && operation.Has("lock_action")) {
    operation.Doubt("lock_action", "lock_action " + std::to_string(action) + " " + doubt);
  }
}

void ExplainLock(Operation& operation) {
  if (OString(operation.Text("block").c_str()).CompareNoCase("yes") == 0) {
    return ExplainPermalock(operation);
  }
  operation.Does(DescribeLockAction(static_cast<std::uint32_t>(operation.Number("lock_action"))));
  if (!operation.Has("lock_action")) {
    operation.Doubt("lock_action", "lock_action is missing: 0 is taken, which changes nothing");
  }
  CheckLockAction(operation);
  for (const char* name : {"startblock", "blockcount"}) {
    if (operation.Has(name)) {
      operation.Doubt(name, std::string(name) + " is read only together with block=\"yes\"");
    }
  }
}

void ExplainUnlock(Operation& operation) {
  operation.Does(DescribeUnlockAction(static_cast<std::uint32_t>(operation.Number("lock_action"))));
  CheckLockAction(operation);
}

/// A password of zeros stands for none.
bool IsNoPassword(const std::string& text) {
  return text.find_first_not_of('0') == std::string::npos;
}

void ExplainSetPassword(Operation& operation) {
  const int type = operation.Number("type");
  operation.Does(type == kKillPassword ? "sets the kill password" : "sets the access password");
  if (operation.Has("type") && type != kKillPassword && type != kAccessPassword) {
    operation.Doubt("type", "type " + std::to_string(type) +
                                " sets the access password; write 1 for the kill password, 2 for "
                                "the access password");
  }
  if (operation.Has("password") && IsNoPassword(operation.Text("password"))) {
    operation.Doubt("password", "an empty password or zeros take the tag's password away");
  }
}

void ExplainKillTag(Operation& operation) {
  operation.Does("kills the tag, which never answers again");
  if (operation.Has("password") && IsNoPassword(operation.Text("password"))) {
    operation.Doubt("password", "a tag cannot be killed with an empty password or zeros");
  }
}

}  // namespace

int Operation::Number(const char* name) const { return NumberAttribute(_element, name); }

std::string Operation::Text(const char* name) const {
  const char* const text = _element.Attribute(name);
  return text == nullptr ? "" : text;
}

void Operation::Doubt(const char* name, const std::string& text) {
  const TiXmlAttribute* attribute = _element.FirstAttribute();
  while (attribute != nullptr && std::strcmp(attribute->Name(), name) != 0) {
    attribute = attribute->Next();
  }
  if (attribute != nullptr) {
    Doubt(*attribute, text);
  } else {
    Doubt(_element, text);
  }
}

void Operation::Doubt(const TiXmlBase& place, const std::string& text) {
  _report.findings.push_back({Severity::kDoubt, place.Row(), place.Column(), text});
}

void Operation::Does(const std::string& text) { _report.steps.push_back({_element.Row(), text}); }

void ExplainOperation(Operation& operation) {
  static const std::map<std::string_view, void (*)(Operation&)> kExplanations = {
      {"printer", ExplainPrinter},
      {"write", ExplainWrite},
      {"lock", ExplainLock},
      {"unlock", ExplainUnlock},
      {"setpassword", ExplainSetPassword},
      {"killtag", ExplainKillTag}};
  kExplanations.at(operation.Form().name)(operation);
}

}  // namespace Tagwright
