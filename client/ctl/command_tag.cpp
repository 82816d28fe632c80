#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/tag_map.h"
#include "client/text.h"
#include "simulator/tag/tag_store.h"

namespace Ctl {
namespace {

struct TagOptions {
  std::string portAddress;
  bool showPasswords = false;
};

void ShowTag(const TagOptions& options) {
  const Simulator::Tag tag = Simulator::LoadTag(Tagwright::ToWide(options.portAddress));
  PrintLine("tag at port address " + options.portAddress);
  PrintLine(DescribeTag(tag, options.showPasswords));
}

}  // namespace

void AddTagCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command = app.add_subcommand("tag", "Show a simulated tag's memory");
  const auto options = std::make_shared<TagOptions>();
  command->add_flag("--show-passwords", options->showPasswords, "Show the passwords, too");
  command->add_option("PORT_ADDRESS", options->portAddress, "The port_address of the jobs")
      ->required();
  command->callback([options, &result] {
    ShowTag(*options);
    result = ExitCode::kSuccess;
  });
}

}  // namespace Ctl
