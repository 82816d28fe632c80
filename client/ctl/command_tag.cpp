#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/input_file.h"
#include "client/ctl/request.h"
#include "client/ctl/tag_map.h"
#include "client/text.h"
#include "simulator/printer/printers.h"
#include "simulator/tag/tag_store.h"

namespace Ctl {
namespace {

using Simulator::Printers;
using Simulator::Tag;
using Simulator::TagKind;
using Tagwright::WideString;

struct TagOptions {
  std::string portAddress;
  bool all = false;
  bool json = false;
  bool diff = false;
  std::string before;
  bool showPasswords = false;
  std::string kind;  ///< of the new tag; empty for that of its printer
};

const TagKind& KindOfPrinter(const Printers& printers, const std::string& portAddress) {
  const TagKind* const kind = printers.KindAt(Tagwright::ToWide(portAddress));
  if (kind != nullptr) return *kind;
  throw Failure(ExitCode::kLocal,
                "no such printer: \"" + portAddress + "\" is not in printers.json");
}

const TagKind& NamedKind(const Printers& printers, const std::string& name) {
  if (const TagKind* kind = printers.FindKind(name)) return *kind;
  std::string names;
  for (const TagKind& kind : printers.Kinds()) names += " " + kind.name;
  throw Failure(ExitCode::kUsage, "no such kind of tag: " + name + "; there are" + names);
}

/// The kind that the tag was made as, or one of its sizes when printers.json has no such kind.
Tag BlankOf(const Printers& printers, const Tag& tag) {
  if (const TagKind* kind = printers.FindKind(tag.Memory().kindName)) return Tag(*kind);
  const auto& memory = tag.Memory();
  return Tag(TagKind{memory.kindName, memory.Of(Simulator::Bank::kEpc).size(),
                     memory.Of(Simulator::Bank::kUser).size(), memory.userBlockWords,
                     memory.Of(Simulator::Bank::kTid)});
}

Tag LoadTagFile(const std::string& path) {
  const WipedBuffer file = LoadFile(path);
  try {
    return Simulator::TagFromText(
        {reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size()});
  } catch (const std::exception&) {
    throw Failure(ExitCode::kLocal, path + " is no tag, or was written without --show-passwords");
  }
}

std::string Headline(const std::string& portAddress, const Tag& tag, bool isStored, bool isBlank) {
  std::string line =
      "simulated tag at port address " + portAddress + ", kind " + tag.Memory().kindName;
  if (!isStored) return line + ", never used: a blank tag, as the first connection finds it";
  return isBlank ? line + ", never written" : line;
}

void ShowTag(const std::string& portAddress, const TagOptions& options) {
  const WideString address = Tagwright::ToWide(portAddress);
  const Printers printers = Printers::Load();
  const TagKind& kind = KindOfPrinter(printers, portAddress);
  const auto stored = Simulator::FindTag(address);
  const Tag tag = stored.value_or(Tag(kind));
  if (options.json) {
    return PrintLine(Simulator::TagText(address, tag, options.showPasswords));
  }
  const Tag blank = BlankOf(printers, tag);
  const bool isBlank = DescribeChanges(blank, tag, true).empty();
  PrintLine(Headline(portAddress, tag, stored.has_value(), isBlank));
  if (!options.diff && options.before.empty()) {
    return PrintLine(DescribeTag(tag, options.showPasswords));
  }
  const Tag before = options.before.empty() ? blank : LoadTagFile(options.before);
  const std::string changes = DescribeChanges(before, tag, options.showPasswords);
  PrintLine(changes.empty() ? "no difference" : changes);
}

void ShowAllTags(const TagOptions& options) {
  const std::vector<WideString> addresses = Simulator::AddressesWithTags();
  if (addresses.empty()) PrintLine("no simulated tag has been used");
  const Printers printers = Printers::Load();
  for (const WideString& address : addresses) {
    const std::string portAddress = Tagwright::ToUtf8(address);
    if (printers.KindAt(address) != nullptr) {
      ShowTag(portAddress, options);
    } else {
      PrintNote("the tag at port address " + portAddress +
                " is left out: printers.json names no printer there");
    }
  }
}

void PutNewTagIn(const TagOptions& options) {
  const Printers printers = Printers::Load();
  const TagKind& own = KindOfPrinter(printers, options.portAddress);
  const TagKind& kind = options.kind.empty() ? own : NamedKind(printers, options.kind);
  Simulator::SaveTag(Tagwright::ToWide(options.portAddress), Tag(kind));
  PrintLine("a fresh tag of kind " + kind.name + " lies at port address " + options.portAddress);
}

void AddNewCommand(CLI::App& parent, const std::shared_ptr<TagOptions>& options) {
  CLI::App* const command = parent.add_subcommand("new", "Put a fresh tag into a printer");
  command->add_option("PORT_ADDRESS", options->portAddress, "The port_address of the jobs")
      ->required();
  command->add_option("--kind", options->kind,
                      "standard, epc-only, large-user or a kind of printers.json; without it that "
                      "of the printer");
  command->callback([options] { PutNewTagIn(*options); });
}

}  // namespace

void AddTagCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command = app.add_subcommand("tag", "Show a simulated tag's memory");
  const auto options = std::make_shared<TagOptions>();
  command->add_flag("--show-passwords", options->showPasswords, "Show the passwords, too");
  command->add_flag("--json", options->json, "Write the tag as its file holds it");
  command->add_flag("--diff", options->diff, "Show what differs from a blank tag of its kind");
  command->add_option("--diff-from", options->before,
                      "Show what differs from the tag in a file of --json --show-passwords");
  command->add_flag("--all", options->all, "Show the tag of each port address that has one");
  CLI::Option* const address =
      command->add_option("PORT_ADDRESS", options->portAddress, "The port_address of the jobs");
  AddNewCommand(*command, options);
  command->callback([command, address, options, &result] {
    result = ExitCode::kSuccess;
    if (!command->get_subcommands().empty()) return;
    if (options->all == (address->count() != 0)) {
      throw Failure(ExitCode::kUsage, "tag needs a PORT_ADDRESS or --all, and not both");
    }
    options->all ? ShowAllTags(*options) : ShowTag(options->portAddress, *options);
  });
}

}  // namespace Ctl
