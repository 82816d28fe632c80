/// The CRC of EPC Gen2: polynomial 1021h, preset FFFFh, not reflected, complemented at the end.
#pragma once

#include <cstddef>

#include "simulator/tag/words.h"

namespace Simulator {

/// Over `count` words, most significant byte first.
Word Crc16(const Word* words, std::size_t count);

}  // namespace Simulator
