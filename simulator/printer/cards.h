/// The card feeder: while the file cards.jsonl exists, each connection for a card of its own (the
/// job's uhfEncodeMode_ReaderConnectPerCard) finds a fresh tag, and each card leaves a line there
/// in the end, whatever became of it:
///
///   {"card":501,"port_address":"USB001","time":"2026-11-23T06:33:01.250Z",
///    "failure":"WriteEPC: memory locked","tag":{...}}
///
/// `time` is UTC; `failure` is the first operation that failed and its reason, and empty for a card
/// without one; `tag` is the tag as the card left with it (see tag_json.h).
///
/// card.json holds the number of the last card fed and whether it is still in the encoder, so that
/// a card whose job crashed or was stopped is recorded when the next one comes. One card at a time
/// is in work, whatever the printer: the program runs one job at a time.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/tag/tag.h"
#include "simulator/tag/text.h"

namespace Simulator {

/// Begins a run at card 1; the cards of the run before are dropped. Throws std::runtime_error.
void StartFeeder();
/// Takes the feeder and its record away.
void StopFeeder();
bool IsFeeding();

/// Puts a fresh tag into the encoder and returns the card's number. A card that is still in work is
/// recorded as one whose job never ended. Throws std::runtime_error.
unsigned FeedCard(WideView portAddress, const TagKind& kind);

/// Records the card with the tag that its printer holds now, unless it is not in work any more.
/// Throws std::runtime_error.
void FinishCard(unsigned number, const std::string& failure);

struct CardRecord {
  unsigned number = 0;
  std::string portAddress;  ///< UTF-8
  std::string time;
  std::string failure;
  /// Nothing when the tag's file could not be read.
  std::optional<Tag> tag;
};

/// The run so far, in order; lines that cannot be understood are left out.
std::vector<CardRecord> ReadCards();
/// The card in work.
std::optional<CardRecord> CardInWork();

}  // namespace Simulator
