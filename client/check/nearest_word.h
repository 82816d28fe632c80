/// The word that somebody probably meant.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace Tagwright {

/// The number of steps that turn one text into the other: inserting, removing or replacing a
/// character, or swapping two neighbours. The letters A to Z count as equal in either case.
std::size_t EditDistance(std::string_view left, std::string_view right);

/// The candidate with the smallest distance to `word`, the first of several; empty when even that
/// one takes more steps than half the characters of the longer word.
std::string_view NearestWord(std::string_view word, std::span<const std::string_view> candidates);

/// "; did you mean "segment"?", or nothing when no candidate is near.
std::string DidYouMean(std::string_view word, std::span<const std::string_view> candidates);

}  // namespace Tagwright
