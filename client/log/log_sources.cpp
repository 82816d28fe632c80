#include "client/log/log_sources.h"

#include <algorithm>

#include "client/check/nearest_word.h"

namespace Tagwright {
namespace {

constexpr std::string_view kOwnPrefix = "Brennick Tagwright.";

constexpr LogSource kSources[] = {{"native", "Brennick Tagwright.Native"},
                                  {"managed", "Brennick Tagwright.Managed"},
                                  {"simulator", "Brennick Tagwright.Simulator"}};

bool SameWord(std::string_view left, std::string_view right) {
  return left.size() == right.size() && EditDistance(left, right) == 0;
}

}  // namespace

std::span<const LogSource> LogSources() { return kSources; }

const LogSource* FindLogSource(std::string_view wordOrName) {
  const auto* const source = std::ranges::find_if(kSources, [=](const LogSource& candidate) {
    return SameWord(candidate.word, wordOrName) || SameWord(candidate.name, wordOrName);
  });
  return source == std::end(kSources) ? nullptr : source;
}

std::string LogSourceWord(std::string_view name) {
  const LogSource* const source = FindLogSource(name);
  return std::string(source == nullptr ? name : source->word);
}

bool IsOwnLogSource(std::string_view name) { return name.starts_with(kOwnPrefix); }

}  // namespace Tagwright
