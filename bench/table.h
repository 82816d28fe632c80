/// The table that the bench prints: what was measured, beside what, and the median of the ratios.
#pragma once

#include <functional>
#include <string>

#include "bench/timings.h"

namespace Bench {

/// How often a thing and what it is measured beside take turns.
constexpr int kRounds = 11;

struct Subject {
  std::string name;
  /// Does the thing once.
  std::function<void()> run;
};

/// One row: `measured` beside `baseline`, `repetitions` times each in every round, and what the
/// ratio of the medians should reach. The row gives the median of the rounds.
void CompareRatio(const Subject& measured, const Subject& baseline, int repetitions,
                  const std::string& reach);

/// The same for how much longer it takes.
void CompareDifference(const Subject& measured, const Subject& baseline, int repetitions,
                       const std::string& reach);

/// A row of one figure that stands beside nothing.
void PrintFigure(const std::string& name, const std::string& figure, const std::string& reach);

void PrintTableHeading();

}  // namespace Bench
