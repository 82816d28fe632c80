#include "bench/table.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace Bench {
namespace {

struct Round {
  double measured;
  double baseline;
};

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

template <class Figure>
double MedianOf(const std::vector<Round>& rounds, Figure figure) {
  std::vector<double> values;
  values.reserve(rounds.size());
  for (const Round& round : rounds) values.push_back(figure(round));
  return Median(std::move(values));
}

double MedianTime(const Subject& subject, int repetitions) {
  Timings timings;
  for (int i = 0; i < repetitions; ++i) timings.Add(subject.run);
  return timings.Quantile(0.5).count();
}

std::vector<Round> Alternate(const Subject& measured, const Subject& baseline, int repetitions) {
  MedianTime(baseline, repetitions);  // Both are warm before the first round.
  MedianTime(measured, repetitions);
  std::vector<Round> rounds;
  for (int round = 0; round < kRounds; ++round) {
    const double beside = MedianTime(baseline, repetitions);
    rounds.push_back({MedianTime(measured, repetitions), beside});
  }
  return rounds;
}

void PrintRow(const Subject& measured, const Subject& baseline, const std::vector<Round>& rounds,
              const std::string& figure, const std::string& reach) {
  const double time = MedianOf(rounds, [](const Round& round) { return round.measured; });
  const double beside = MedianOf(rounds, [](const Round& round) { return round.baseline; });
  std::printf("| %s | %.1f us | %s: %.1f us | %s | %s |\n", measured.name.c_str(), time,
              baseline.name.c_str(), beside, figure.c_str(), reach.c_str());
  std::fflush(stdout);
}

std::string Format(const char* format, double value) {
  char text[32];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

}  // namespace

void CompareRatio(const Subject& measured, const Subject& baseline, int repetitions,
                  const std::string& reach) {
  const auto rounds = Alternate(measured, baseline, repetitions);
  const double ratio =
      MedianOf(rounds, [](const Round& round) { return round.measured / round.baseline; });
  PrintRow(measured, baseline, rounds, Format("%.2f times", ratio), reach);
}

void CompareDifference(const Subject& measured, const Subject& baseline, int repetitions,
                       const std::string& reach) {
  const auto rounds = Alternate(measured, baseline, repetitions);
  const double more =
      MedianOf(rounds, [](const Round& round) { return round.measured - round.baseline; });
  PrintRow(measured, baseline, rounds, Format("%.1f us more", more), reach);
}

void PrintFigure(const std::string& name, const std::string& figure, const std::string& reach) {
  std::printf("| %s | %s | - | - | %s |\n", name.c_str(), figure.c_str(), reach.c_str());
  std::fflush(stdout);
}

void PrintTableHeading() {
  std::puts("| what | takes | beside | ratio | to reach |\n| --- | --- | --- | --- | --- |");
}

}  // namespace Bench
