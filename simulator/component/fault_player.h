/// Carrying out a scripted fault.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "simulator/tag/text.h"

namespace Simulator {

struct FaultForm;

struct Fault {
  /// What goes wrong; never null.
  const FaultForm* form;
  /// Message of the exception.
  WideText text = {};
  /// Waited before the fault, whatever its form, in milliseconds: a fixed time, and a time for each
  /// data word of the call.
  DWORD delayMs = 0;
  DWORD delayPerWordMs = 0;
  /// How many words a write that is interrupted still writes; half of them without a number.
  std::optional<std::size_t> words = {};
};

/// What is left for the caller to do when a fault has been played.
enum class FaultEffect {
  kWorks,         ///< The member does its work.
  kReturnsFalse,  ///< The member returns false instead.
  kInterrupts,    ///< The member's write stops after Fault::words words.
  kErases,        ///< The same, and the word after them is erased but not programmed.
  kTakesTagAway,  ///< The tag has left the field; the member finds none.
};

/// The form that the word of a fault script names; null when there is none.
const FaultForm* FindFaultForm(std::string_view word);
std::string_view WordOf(const FaultForm& form);
std::vector<std::string_view> FaultWords();
/// Whether it needs a member that writes memory.
bool IsOfWrites(const FaultForm& form);
/// Whether the member does not come back from it: it throws, crashes or hangs.
bool EndsTheCall(const FaultForm& form);

/// Waits, hangs, crashes or throws (MemberException) as `fault` says. `dataWords` is the number of
/// data words that the call of `member` brings.
FaultEffect PlayFault(const Fault& fault, std::string_view member, std::size_t dataWords);

}  // namespace Simulator
