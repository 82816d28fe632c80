/// Units of sizes.
#pragma once

#include <cstddef>

namespace platform {

constexpr std::size_t kKiB = 1024;

}  // namespace platform
