#include "simulator/tag/crc16.h"

namespace Simulator {

Word Crc16(const Word* words, std::size_t count) {
  constexpr Word kPolynomial = 0x1021;
  constexpr Word kPreset = 0xFFFF;
  Word crc = kPreset;
  for (std::size_t index = 0; index < count; ++index) {
    crc ^= words[index];
    for (int bit = 0; bit < 16; ++bit) {
      const bool carry = (crc & 0x8000) != 0;
      crc = static_cast<Word>(crc << 1);
      if (carry) crc ^= kPolynomial;
    }
  }
  return static_cast<Word>(~crc);
}

}  // namespace Simulator
