#include "client/check/lock_action.h"

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>

#include "client/check/nearest_word.h"

namespace Tagwright {
namespace {

constexpr unsigned kHalfBits = 10;
constexpr unsigned kLockBit = 2;
constexpr unsigned kPermanentBit = 1;
constexpr unsigned kPairMask = kLockBit | kPermanentBit;

struct Field {
  std::string_view word;
  std::string_view name;
  unsigned shift;  ///< Of its pair in either half.
};

constexpr Field kFields[] = {{"kill", "the kill password", 8},
                             {"access", "the access password", 6},
                             {"epc", "the EPC bank", 4},
                             {"tid", "the TID bank", 2},
                             {"user", "the User bank", 0}};

/// One field's pair of mask bits and pair of action bits.
struct State {
  unsigned mask;
  unsigned action;
  std::string_view word;
  std::string_view phrase;
};

/// The first row for a word is the one to write it with. Action bits outside the mask are ignored.
constexpr State kStates[] = {
    {kLockBit, kLockBit, "lock", "locks"},
    {kLockBit, 0, "unlock", "unlocks"},
    {kPairMask, kPairMask, "permalock", "permanently locks"},
    {kPairMask, kPermanentBit, "permaunlock", "permanently unlocks"},
    {kPermanentBit, kPermanentBit, "keep", "makes permanent the present state of"},
    {kPairMask, kLockBit, "lock", "locks"},
    {kPairMask, 0, "unlock", "unlocks"},
};

std::uint32_t PairAt(std::uint32_t half, const Field& field) {
  return half >> field.shift & kPairMask;
}

/// Null for a field that the payload leaves as it is.
const State* StateIn(std::uint32_t payload, const Field& field) {
  const std::uint32_t mask = PairAt(payload >> kHalfBits, field);
  const std::uint32_t action = PairAt(payload, field) & mask;
  const auto* const state = std::ranges::find_if(kStates, [&](const State& candidate) {
    return candidate.mask == mask && candidate.action == action;
  });
  return state == std::end(kStates) ? nullptr : state;
}

/// Joins what `part` makes of each field, leaving out empty parts.
template <class Part>
std::string JoinFields(std::string_view separator, Part part) {
  std::string text;
  for (const Field& field : kFields) {
    const std::string piece = part(field);
    if (!piece.empty()) text += (text.empty() ? "" : std::string(separator)) + piece;
  }
  return text;
}

std::string OrNothing(const std::string& text) { return text.empty() ? "changes nothing" : text; }

bool SameWord(std::string_view left, std::string_view right) {
  return left.size() == right.size() && EditDistance(left, right) == 0;
}

template <class Row, std::size_t count>
const Row& FindRow(const Row (&rows)[count], std::string_view word, const char* what) {
  std::array<std::string_view, count> words;
  for (std::size_t i = 0; i < count; ++i) {
    if (SameWord(rows[i].word, word)) return rows[i];
    words[i] = rows[i].word;
  }
  throw std::invalid_argument("\"" + std::string(word) + "\" is no " + what +
                              DidYouMean(word, words));
}

std::uint32_t PayloadOf(std::string_view term) {
  const std::size_t equals = term.find('=');
  if (equals == std::string_view::npos) {
    throw std::invalid_argument("\"" + std::string(term) + "\" is not of the form FIELD=STATE");
  }
  const Field& field = FindRow(kFields, term.substr(0, equals), "field of a lock action");
  const State& state = FindRow(kStates, term.substr(equals + 1), "lock state");
  return (state.mask << kHalfBits | state.action) << field.shift;
}

}  // namespace

std::string DescribeLockAction(std::uint32_t payload) {
  return OrNothing(JoinFields(", ", [payload](const Field& field) {
    const State* const state = StateIn(payload, field);
    return state == nullptr ? "" : std::string(state->phrase) + " " + std::string(field.name);
  }));
}

std::string DescribeUnlockAction(std::uint32_t payload) {
  return OrNothing(JoinFields(", ", [payload](const Field& field) {
    const bool named = (PairAt(payload >> kHalfBits, field) & kLockBit) != 0;
    return named ? "unlocks " + std::string(field.name) : "";
  }));
}

std::string DoubtAboutLockAction(std::uint32_t payload) {
  const std::uint32_t mask = payload >> kHalfBits;
  if (mask >> kHalfBits != 0) return "does not fit into the 20 bits of a lock action";
  if (mask == 0) return "has an empty mask and changes nothing";
  if ((payload & ~mask & ((1U << kHalfBits) - 1)) != 0) {
    return "has action bits without a mask bit, which have no effect";
  }
  return {};
}

std::string LockActionTerms(std::uint32_t payload) {
  return JoinFields(",", [payload](const Field& field) {
    const State* const state = StateIn(payload, field);
    return state == nullptr ? "" : std::string(field.word) + "=" + std::string(state->word);
  });
}

std::uint32_t LockActionOf(std::string_view terms) {
  std::uint32_t payload = 0;
  for (std::size_t start = 0; start <= terms.size();) {
    const std::size_t end = std::min(terms.find(',', start), terms.size());
    const std::uint32_t term = PayloadOf(terms.substr(start, end - start));
    if ((payload >> kHalfBits & term >> kHalfBits) != 0) {
      throw std::invalid_argument("a field is named twice");
    }
    payload |= term;
    start = end + 1;
  }
  return payload;
}

}  // namespace Tagwright
