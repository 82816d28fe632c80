#include "platform/posix/kernel/process_ids.h"

#include <charconv>
#include <filesystem>
#include <string>

namespace platform {

std::vector<DWORD> ProcessIds() {
  std::vector<DWORD> ids;
  std::error_code ignored;
  for (std::filesystem::directory_iterator entry("/proc", ignored), end; entry != end;
       entry.increment(ignored)) {
    const std::string name = entry->path().filename();
    DWORD id = 0;
    const auto parsed = std::from_chars(name.data(), name.data() + name.size(), id);
    if (parsed.ec == std::errc()) ids.push_back(id);
  }
  return ids;
}

}  // namespace platform
