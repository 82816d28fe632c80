#include "simulator/printer/cards.h"

#include <chrono>
#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "simulator/tag/shallow_json.h"
#include "simulator/tag/state_files.h"
#include "simulator/tag/tag_json.h"
#include "simulator/tag/tag_store.h"
#include "simulator/tag/wiped_text.h"

namespace Simulator {
namespace {

using Json = nlohmann::ordered_json;

WideText RecordPath() { return StateFilePath("cards.jsonl"); }
WideText CardPath() { return StateFilePath("card.json"); }

/// card.json; a file that cannot be understood counts as none.
struct FedCard {
  unsigned number = 0;
  std::string portAddress;
  bool isInWork = false;

  static FedCard Load() {
    try {
      const auto json = ParseShallowJson<Json>(ReadStateFile(CardPath()).value_or("{}"));
      return {json.value("card", 0U), json.value("port_address", std::string()),
              json.value("in_work", false)};
    } catch (const std::exception&) {
      return {};
    }
  }
  void Save() const {
    const Json json = {{"card", number}, {"port_address", portAddress}, {"in_work", isInWork}};
    ReplaceStateFile(CardPath(), json.dump() + "\n");
  }
};

/// "2026-11-23T06:33:01.250Z"
std::string TimeNow() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  char text[32];
  std::snprintf(text, sizeof(text), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                static_cast<int>(time.subseconds().count()));
  return text;
}

Json TagAt(WideView portAddress) {
  try {
    if (const auto tag = FindTag(portAddress)) return ToJson(portAddress, *tag, true);
  } catch (const std::runtime_error&) {
    // A card whose tag cannot be read is recorded all the same.
  }
  return nullptr;
}

void Record(FedCard card, const std::string& failure) {
  const WipedJson json({{"card", card.number},
                        {"port_address", card.portAddress},
                        {"time", TimeNow()},
                        {"failure", failure},
                        {"tag", TagAt(FromUtf8(card.portAddress))}});
  const WipedText line(json.tree.dump() + "\n");
  if (!AppendToStateFile(RecordPath(), line.Get())) {
    throw std::runtime_error("Cannot write cards.jsonl");
  }
  card.isInWork = false;
  card.Save();
}

CardRecord RecordFromJson(const Json& json) {
  CardRecord card{
      json.at("card"), json.at("port_address"), json.at("time"), json.at("failure"), {}};
  if (!json.at("tag").is_null()) card.tag = TagFromJson(json.at("tag"));
  return card;
}

}  // namespace

void StartFeeder() {
  DeleteFileW(CardPath().c_str());
  ReplaceStateFile(RecordPath(), "");
}

void StopFeeder() {
  DeleteFileW(RecordPath().c_str());
  DeleteFileW(CardPath().c_str());
}

bool IsFeeding() { return StateFileExists(RecordPath()); }

unsigned FeedCard(WideView portAddress, const TagKind& kind) {
  const FedCard before = FedCard::Load();
  if (before.isInWork) Record(before, "the job never ended");
  SaveTag(portAddress, Tag(kind));
  const FedCard card{before.number + 1, ToUtf8(portAddress), true};
  card.Save();
  return card.number;
}

void FinishCard(unsigned number, const std::string& failure) {
  const FedCard card = FedCard::Load();
  if (card.isInWork && card.number == number) Record(card, failure);
}

std::vector<CardRecord> ReadCards() {
  std::vector<CardRecord> cards;
  std::istringstream lines(ReadStateFile(RecordPath()).value_or(""));
  for (std::string line; std::getline(lines, line);) {
    try {
      const WipedJson json(ParseShallowJson<Json>(line));
      cards.push_back(RecordFromJson(json.tree));
    } catch (const std::exception&) {
      // Half a line is all that a full disk may have left.
    }
  }
  return cards;
}

std::optional<CardRecord> CardInWork() {
  const FedCard card = FedCard::Load();
  if (!card.isInWork) return std::nullopt;
  return CardRecord{card.number, card.portAddress, {}, {}, FindTag(FromUtf8(card.portAddress))};
}

}  // namespace Simulator
