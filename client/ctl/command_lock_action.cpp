#include <cstdio>
#include <memory>
#include <stdexcept>

#include "client/check/lock_action.h"
#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/verbs.h"

namespace Ctl {
namespace {

std::uint32_t PayloadOf(const std::string& text) try {
  if (text.find('=') != std::string::npos) return Tagwright::LockActionOf(text);
  // As the tables of tag makers write it: A82A0h.
  const bool isTabled = text.ends_with('h') || text.ends_with('H');
  return ParseNumber(isTabled ? "0x" + text.substr(0, text.size() - 1) : text, "lock action");
} catch (const std::invalid_argument& error) {
  throw Failure(ExitCode::kUsage, error.what());
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ",") + word;
  return text;
}

void Explain(const std::vector<std::string>& words) {
  const std::uint32_t payload = PayloadOf(Joined(words));
  char hexadecimal[16];
  std::snprintf(hexadecimal, sizeof hexadecimal, "%05lXh", static_cast<unsigned long>(payload));
  PrintLine("lock_action=\"" + std::to_string(payload) + "\"  " + hexadecimal + "  " +
            Tagwright::LockActionTerms(payload));
  PrintLine("as <lock>:   " + Tagwright::DescribeLockAction(payload));
  PrintLine("as <unlock>: " + Tagwright::DescribeUnlockAction(payload));
  const std::string doubt = Tagwright::DoubtAboutLockAction(payload);
  if (!doubt.empty()) PrintLine("It " + doubt + ".");
}

}  // namespace

void AddLockActionCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("lock-action", "Compute the number of a lock action, or explain one");
  const auto words = std::make_shared<std::vector<std::string>>();
  command
      ->add_option("ACTION", *words,
                   "A number (688800, 0xA82A0), or FIELD=STATE with commas or blanks between them. "
                   "Fields: kill, access, epc, tid, user. States: lock, unlock, permalock, "
                   "permaunlock, keep (the present state becomes permanent)")
      ->required();
  command->callback([words, &result] {
    Explain(*words);
    result = ExitCode::kSuccess;
  });
}

}  // namespace Ctl
