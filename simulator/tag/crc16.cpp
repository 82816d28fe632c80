#include "simulator/tag/crc16.h"

namespace Simulator {
namespace {

constexpr Word kPolynomial = 0x1021;
constexpr Word kPreset = 0xFFFF;

Word WithByte(Word crc, unsigned byte) {
  crc = static_cast<Word>(crc ^ byte << 8);
  for (int bit = 0; bit < 8; ++bit) {
    const bool carry = (crc & 0x8000) != 0;
    crc = static_cast<Word>(crc << 1);
    if (carry) crc ^= kPolynomial;
  }
  return crc;
}

}  // namespace

Word Crc16(std::string_view bytes) {
  Word crc = kPreset;
  for (const char byte : bytes) crc = WithByte(crc, static_cast<unsigned char>(byte));
  return static_cast<Word>(~crc);
}

Word Crc16(const Word* words, std::size_t count) {
  Word crc = kPreset;
  for (std::size_t index = 0; index < count; ++index) {
    crc = WithByte(WithByte(crc, words[index] >> 8), words[index] & 0xFF);
  }
  return static_cast<Word>(~crc);
}

}  // namespace Simulator
