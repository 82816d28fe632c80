/// How large and how deep a job document may be, found out before the parser works on it.
#pragma once

#include <cstddef>
#include <string_view>

/// The parser calls itself once for each level of elements, so that deep nesting would overflow the
/// stack, and it compares each attribute with all others of its element. A job has two levels and
/// five attributes; these limits are far beyond any job and far below what costs seconds.
struct MarkupLimits {
  std::size_t depth = 256;            ///< elements within elements
  std::size_t nodes = 500'000;        ///< elements, comments, texts and other nodes
  std::size_t attributes = 100;       ///< of one element
  std::size_t unclearMarkup = 1'000;  ///< signs "<" and "=", each, behind the first irregularity
};

/// Whether the parser can be let loose on `text`, which holds no NUL.
///
/// Follows well-formed markup exactly. Behind the first irregularity (an attribute without quotes
/// or value, an unfinished tag, a damaged UTF-8 sequence at a place where it matters) nobody knows
/// what the parser makes of the rest, so that every "<" is taken for one more level and every "="
/// for one more attribute.
bool IsWithinLimits(std::string_view text, const MarkupLimits& limits = {});
