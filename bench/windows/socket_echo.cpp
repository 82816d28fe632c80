#include "bench/echo.h"

namespace Bench {

std::optional<Timings> SocketEcho(int) { return std::nullopt; }

}  // namespace Bench
