#include "bench/resident_memory.h"

#include <psapi.h>

#include "support/scoped_handle.h"

namespace Bench {

std::optional<std::size_t> ResidentMemoryKb(DWORD processId) {
  const ScopedHandle process(
      OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
  PROCESS_MEMORY_COUNTERS counters = {};
  if (!process.IsValid() || !GetProcessMemoryInfo(process.Get(), &counters, sizeof(counters))) {
    return std::nullopt;
  }
  return counters.WorkingSetSize / 1024;
}

}  // namespace Bench
