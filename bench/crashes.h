/// What a crash costs until its report is written.
#pragma once

namespace Bench {

/// Crashes threads of this process and prints how long it took to report that, with and without a
/// dump file, and how large that is. The dump files are deleted, the reports stay in the log of the
/// source "Brennick Tagwright.Bench". Throws std::runtime_error.
void MeasureCrashes(int repetitions);

}  // namespace Bench
