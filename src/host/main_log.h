/// Log lines of the process main.
#pragma once

#include "support/log.h"

inline constexpr Tracer kMainLog{"wmain"};
