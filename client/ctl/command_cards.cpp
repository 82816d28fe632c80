#include <algorithm>
#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "simulator/printer/cards.h"
#include "simulator/tag/state_files.h"

namespace Ctl {
namespace {

using Simulator::CardRecord;

struct CardsOptions {
  bool start = false;
  bool stop = false;
  bool all = false;
  bool json = false;
};

std::string Describe(const CardRecord& card) {
  const std::string tag =
      card.tag ? ", EPC " + Simulator::FormatWords(card.tag->Epc()) : ", the tag cannot be read";
  return "card " + std::to_string(card.number) + ", " + card.time + ", " + card.portAddress + tag +
         ": " + (card.failure.empty() ? "done" : card.failure);
}

void ShowCards(bool all) {
  const std::vector<CardRecord> cards = Simulator::ReadCards();
  std::size_t failed = 0;
  for (const CardRecord& card : cards) {
    if (!card.failure.empty()) ++failed;
    if (all || !card.failure.empty()) PrintLine(Describe(card));
  }
  if (const auto card = Simulator::CardInWork()) {
    PrintLine("card " + std::to_string(card->number) + ", " + card->portAddress +
              ": in the encoder; its job runs or never ended");
  }
  PrintLine(std::to_string(cards.size()) + " cards, " + std::to_string(cards.size() - failed) +
            " done, " + std::to_string(failed) + " failed");
}

void RunCards(const CardsOptions& options) {
  if (options.start) {
    Simulator::StartFeeder();
    return PrintLine(
        "the card feeder is on: a connection with uhfEncodeMode_ReaderConnectPerCard "
        "finds a fresh tag");
  }
  if (!Simulator::IsFeeding()) {
    throw Failure(ExitCode::kLocal, "the card feeder is off; \"cards --start\" switches it on");
  }
  if (options.stop) return Simulator::StopFeeder();
  if (!options.json) return ShowCards(options.all);
  std::string record =
      Simulator::ReadStateFile(Simulator::StateFilePath("cards.jsonl")).value_or("");
  if (!record.empty()) record.pop_back();
  if (!record.empty()) PrintLine(record);
}

}  // namespace

void AddCardsCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("cards", "Show the run of the simulated printer's card feeder");
  const auto options = std::make_shared<CardsOptions>();
  CLI::Option* const start = command->add_flag("--start", options->start,
                                               "Switch the feeder on and begin a run at card 1");
  CLI::Option* const stop =
      command->add_flag("--stop", options->stop, "Switch it off and drop the run");
  command->add_flag("--all", options->all, "Show every card, not the failed ones alone");
  command->add_flag("--json", options->json, "Write the record as it is, passwords included");
  start->excludes(stop);
  command->callback([options, &result] {
    RunCards(*options);
    result = ExitCode::kSuccess;
  });
}

}  // namespace Ctl
