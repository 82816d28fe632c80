#include "simulator/tag/tag_store.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <unordered_set>

#include "simulator/tag/shallow_json.h"
#include "simulator/tag/state_files.h"
#include "simulator/tag/tag_json.h"
#include "simulator/tag/wiped_text.h"
#include "support/ostring.h"

namespace Simulator {
namespace {

constexpr const char* kAddressFile = "addresses.txt";

bool IsPlain(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z') || character == '-' || character == '_' ||
         character == '.';
}

/// Other files lie in the same folder, where letter case may not tell files apart.
bool IsNameOfAnotherFile(const std::string& address) {
  constexpr const char* kTaken[] = {"faults", "fault_counts", "printers", "card"};
  return std::ranges::any_of(
      kTaken, [&](const char* name) { return OString(address.c_str()).CompareNoCase(name) == 0; });
}

std::string Escape(char character) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(character);
  return {'%', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

std::vector<WideText> UsedAddresses() {
  std::vector<WideText> addresses;
  std::unordered_set<std::string> known;
  std::istringstream lines(ReadStateFile(StateFilePath(kAddressFile)).value_or(""));
  for (std::string line; std::getline(lines, line);) {
    if (known.insert(line).second) addresses.push_back(FromUtf8(line));
  }
  return addresses;
}

}  // namespace

WideText TagFilePath(WideView portAddress) {
  const std::string address = ToUtf8(portAddress);
  const bool isTaken = IsNameOfAnotherFile(address);
  std::string name;
  for (const char character : address) {
    const bool plain = IsPlain(character) && !(name.empty() && isTaken);
    name += plain ? std::string(1, character) : Escape(character);
  }
  return StateFilePath(name + ".json");
}

std::optional<Tag> FindTag(WideView portAddress) {
  const WideText path = TagFilePath(portAddress);
  std::optional<std::string> stored = ReadStateFile(path);
  if (!stored) return std::nullopt;
  const WipedText text(std::move(*stored));
  try {
    return TagFromText(text.Get());
  } catch (const std::exception&) {
    // The parser's own words may quote the file.
    throw std::runtime_error("The file of the simulated tag is damaged: " + ToUtf8(path));
  }
}

Tag LoadTag(WideView portAddress) { return FindTag(portAddress).value_or(Tag()); }

void SaveTag(WideView portAddress, const Tag& tag) {
  const WideText path = TagFilePath(portAddress);
  if (!StateFileExists(path)) {
    AppendToStateFile(StateFilePath(kAddressFile), ToUtf8(portAddress) + "\n", true);
  }
  const WipedText text(TagText(portAddress, tag, true) + "\n");
  ReplaceStateFile(path, text.Get());
}

std::vector<WideText> AddressesWithTags() {
  std::vector<WideText> addresses = UsedAddresses();
  std::erase_if(addresses,
                [](const WideText& address) { return !StateFileExists(TagFilePath(address)); });
  return addresses;
}

std::string TagText(WideView portAddress, const Tag& tag, bool withPasswords) {
  constexpr int kIndent = 2;
  const WipedJson json(ToJson(portAddress, tag, withPasswords));
  return json.tree.dump(kIndent);
}

Tag TagFromText(std::string_view text) {
  const WipedJson json(ParseShallowJson<nlohmann::ordered_json>(text));
  return TagFromJson(json.tree);
}

}  // namespace Simulator
