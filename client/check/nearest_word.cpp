#include "client/check/nearest_word.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace Tagwright {
namespace {

char ToLower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

}  // namespace

std::size_t EditDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last(right.size() + 1);
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  const auto same = [&](std::size_t i, std::size_t j) {
    return ToLower(left[i - 1]) == ToLower(right[j - 1]);
  };
  for (std::size_t i = 1; i <= left.size(); ++i) {
    beforeLast = std::exchange(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= right.size(); ++j) {
      row[j] = std::min({last[j - 1] + (same(i, j) ? 0 : 1), last[j] + 1, row[j - 1] + 1});
      if (i > 1 && j > 1 && same(i, j - 1) && same(i - 1, j)) {
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
      }
    }
  }
  return row.back();
}

std::string_view NearestWord(std::string_view word, std::span<const std::string_view> candidates) {
  std::string_view nearest;
  std::size_t smallest = word.size() + 1;
  for (const std::string_view candidate : candidates) {
    const std::size_t distance = EditDistance(word, candidate);
    if (distance >= smallest || 2 * distance > std::max(word.size(), candidate.size())) continue;
    nearest = candidate;
    smallest = distance;
  }
  return nearest;
}

std::string DidYouMean(std::string_view word, std::span<const std::string_view> candidates) {
  const std::string_view nearest = NearestWord(word, candidates);
  return nearest.empty() ? "" : "; did you mean \"" + std::string(nearest) + "\"?";
}

}  // namespace Tagwright
