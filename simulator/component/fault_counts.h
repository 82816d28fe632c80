/// How often each rule of the fault script was asked: the file fault_counts.json, which outlives
/// the component's objects and processes.
///
///   {"script": 2166136261, "counts": {"WriteEPC": [17, 3]}}
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Simulator {

/// A well-mixed number of the text (FNV-1a).
std::uint32_t HashText(std::string_view text);

/// Adds one to the counts of those rules of `member` for which `counted` is true, and returns the
/// counts of all of its rules. `script` is the hash of the script's text: counts of another script
/// are dropped. Throws std::runtime_error when the file cannot be written. Calls of two processes
/// at the same time may count as one; the program lets only one job run at a time.
std::vector<unsigned> CountCall(std::uint32_t script, std::string_view member,
                                const std::vector<bool>& counted);

}  // namespace Simulator
