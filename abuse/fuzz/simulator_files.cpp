/// The files of the simulator: tags, printers, scripted faults and their counts, the card feeder.
#include <stdexcept>

#include "fuzz/fuzz_target.h"
#include "simulator/component/fault_counts.h"
#include "simulator/component/fault_script.h"
#include "simulator/printer/cards.h"
#include "simulator/printer/printers.h"
#include "simulator/tag/state_files.h"
#include "simulator/tag/tag_store.h"

namespace {

using namespace Simulator;

constexpr const WCHAR* kAddress = TEXT("USB001");

/// Puts the text in the file's place while `reader` runs. A file that is no good is an error with a
/// text.
template <class Reader>
void Read(const char* file, const std::string& text, Reader reader) {
  const WideText path = StateFilePath(file);
  ReplaceStateFile(path, text);
  try {
    reader();
  } catch (const std::runtime_error&) {
  }
  DeleteFileW(path.c_str());
}

void ReadScript() {
  const FaultScript script = FaultScript::Load();
  for (const auto& [member, rules] : script.Rules()) {
    Fuzz::Require(script.TakeCall(member, {kAddress, 1}).size() <= rules.size(),
                  "no more faults than rules");
  }
}

void ReadTag() {
  const auto tag = FindTag(kAddress);
  if (!tag) return;
  // What is a tag stays one.
  SaveTag(kAddress, *tag);
  Fuzz::Require(TagText(kAddress, LoadTag(kAddress), true) == TagText(kAddress, *tag, true),
                "a tag is stored as it was read");
}

void ReadCounts() {
  Fuzz::Require(CountCall(1, "WriteEPC", {true, false}).size() == 2, "each rule has a count");
}

void ReadPrinters() {
  const Printers printers = Printers::Load();
  for (const WideText& address : printers.Addresses()) {
    const TagKind* const kind = printers.KindAt(address);
    if (kind != nullptr) Fuzz::Require(ProblemOf(*kind).empty(), "a kind is a possible one");
  }
}

}  // namespace

void Fuzz::SimulatorFiles(Bytes bytes) {
  Input input(bytes);
  const std::uint8_t file = input.Byte();
  const std::string text = input.Rest();
  switch (file % 7) {
    case 0:
      return Read("faults.json", text, ReadScript);
    case 1:
      return Read("fault_counts.json", text, ReadCounts);
    case 2:
      return Read("printers.json", text, ReadPrinters);
    case 3:
      return Read("USB001.json", text, ReadTag);
    case 4:
      return Read("cards.jsonl", text, [] { static_cast<void>(ReadCards()); });
    case 5:
      return Read("card.json", text, [] { static_cast<void>(CardInWork()); });
    default:
      return Read("addresses.txt", text, [] { static_cast<void>(AddressesWithTags()); });
  }
}
