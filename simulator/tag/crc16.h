/// The CRC of EPC Gen2: polynomial 1021h, preset FFFFh, not reflected, complemented at the end.
#pragma once

#include <cstddef>
#include <string_view>

#include "simulator/tag/words.h"

namespace Simulator {

Word Crc16(std::string_view bytes);

/// Over `count` words, most significant byte first.
Word Crc16(const Word* words, std::size_t count);

}  // namespace Simulator
