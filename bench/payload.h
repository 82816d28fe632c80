/// Texts as payloads of requests.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace Bench {

inline std::span<const std::uint8_t> Bytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace Bench
