/// Durations of many repetitions, and the two figures that are told of them.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace Bench {

using Microseconds = std::chrono::duration<double, std::micro>;

/// How often each thing is done before it is measured.
constexpr int kWarmUps = 20;

class Timings {
 public:
  /// Calls `action` `kWarmUps` times unmeasured and then `repetitions` times measured.
  template <class Action>
  static Timings Of(int repetitions, Action action) {
    for (int i = 0; i < kWarmUps; ++i) action();
    Timings timings;
    for (int i = 0; i < repetitions; ++i) timings.Add(action);
    return timings;
  }

  /// Measures one call.
  template <class Action>
  void Add(Action action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    _durations.emplace_back(std::chrono::steady_clock::now() - start);
  }

  void AddDuration(Microseconds duration) { _durations.push_back(duration); }

  /// The value that this fraction of all does not exceed. There must be one at least.
  Microseconds Quantile(double fraction) const;

  /// "name    median    99th percentile", in microseconds.
  std::string Row(const std::string& name) const;

 private:
  std::vector<Microseconds> _durations;
};

/// The line above the rows.
std::string TimingsHeading();

}  // namespace Bench
