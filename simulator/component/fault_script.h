/// Scripted faults: what goes wrong in which call, from the file faults.json. It maps a member to a
/// rule, or to a list of rules:
///
///   {"Connect":  {"fault": "delay", "delay_ms": 200},
///    "WriteEPC": [{"fault": "delay", "delay_ms": 20, "delay_per_word_ms": 4},
///                 {"fault": "partial-write", "words": 2, "card": 501},
///                 {"fault": "throw-standard", "text": "disk full", "every": 100}]}
///
/// A rule applies to a call when all of its conditions hold: "port_address"; "card", the number of
/// the feeder's card; and of the calls that these two let through "call", exactly the n-th,
/// "every", each n-th, and "probability" (0 to 1, with "seed": the same seed chooses the same calls
/// again). The rules are tried in their order; the first one that does more than delay is the last.
///
/// The counts are kept in fault_counts.json, because each job has a component object of its own.
/// They begin anew when the text of faults.json changes, and when the counts' file is deleted.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/component/fault_player.h"

namespace Simulator {

/// The members of the component that a script may name.
std::vector<std::string_view> MemberNames();

/// The printer and the card of a call.
struct CallPlace {
  WideText portAddress;  ///< empty before the first Connect
  unsigned card = 0;     ///< 0 without a card of the feeder
};

struct FaultRule {
  Fault fault;
  std::optional<WideText> portAddress = {};
  std::optional<unsigned> card = {};
  std::optional<unsigned> call = {};
  std::optional<unsigned> every = {};
  std::optional<double> probability = {};
  std::uint32_t seed = 0;

  bool IsAt(const CallPlace& place) const;
  /// Whether the `count`-th call (from 1) at its place is one of those that it chooses.
  bool Chooses(unsigned count) const;
  bool NeedsCount() const { return call || every || probability; }
};

class FaultScript {
 public:
  /// Reads the file as it is now; without one nothing goes wrong. Throws std::runtime_error when it
  /// cannot be read or understood: "faults.json: no such member: WriteEpc".
  static FaultScript Load();
  /// The same for a text. What it throws says why without naming a file.
  static FaultScript Parse(std::string_view text);

  /// The faults of one call of `member` (the constructor is "ZebraSDK", the disposal "Dispose") in
  /// the order in which they happen. Counts the call. Throws std::runtime_error when the counts
  /// cannot be kept.
  std::vector<Fault> TakeCall(std::string_view member, const CallPlace& place) const;

  const std::map<std::string, std::vector<FaultRule>, std::less<>>& Rules() const { return _rules; }

 private:
  std::map<std::string, std::vector<FaultRule>, std::less<>> _rules;
  /// Tells this text of the script from another.
  std::uint32_t _textHash = 0;
};

}  // namespace Simulator
