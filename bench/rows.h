/// The rows of the bench's table.
#pragma once

namespace Bench {

/// Prints what can be compared on this system: on Linux everything, on Windows a round trip beside
/// a bare echo on a named pipe. Throws std::runtime_error.
void PrintRows();

}  // namespace Bench
