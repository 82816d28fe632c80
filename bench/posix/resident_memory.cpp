#include "bench/resident_memory.h"

#include <fstream>
#include <string>

namespace Bench {

std::optional<std::size_t> ResidentMemoryKb(DWORD processId) {
  std::ifstream status("/proc/" + std::to_string(processId) + "/status");
  for (std::string word; status >> word;) {
    std::size_t kilobytes = 0;
    if (word == "VmRSS:" && status >> kilobytes) return kilobytes;
  }
  return std::nullopt;
}

}  // namespace Bench
