#include "bench/timings.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Bench {
namespace {

std::string FormatRow(const char* name, const std::string& median, const std::string& percentile) {
  char row[128];
  std::snprintf(row, sizeof(row), "%-44s %12s %12s", name, median.c_str(), percentile.c_str());
  return row;
}

std::string FormatDuration(Microseconds duration) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.1f us", duration.count());
  return text;
}

}  // namespace

Microseconds Timings::Quantile(double fraction) const {
  std::vector<Microseconds> sorted = _durations;
  std::ranges::sort(sorted);
  const double rank = std::ceil(fraction * static_cast<double>(sorted.size()));
  return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

std::string Timings::Row(const std::string& name) const {
  return FormatRow(name.c_str(), FormatDuration(Quantile(0.5)), FormatDuration(Quantile(0.99)));
}

std::string TimingsHeading() { return FormatRow("", "median", "99th pct"); }

}  // namespace Bench
