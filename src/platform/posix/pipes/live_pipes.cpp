#include "platform/live_pipes.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/pipes/claim.h"
#include "platform/posix/pipes/name.h"

namespace platform {

std::vector<std::string> PipesOfServer(const std::u16string& name) {
  const KernelScope scope;
  std::string fileName;
  if (PipeFileName((u"\\\\.\\pipe\\" + name).c_str(), fileName) != 0 || !IsClaimed(fileName)) {
    return {};
  }
  // The claims of a process are links to one file.
  const std::filesystem::path folder = StateFolder("pipe/.lock");
  struct stat own {};
  if (stat((folder / fileName).c_str(), &own) != 0) return {};
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& claim : std::filesystem::directory_iterator(folder, ignored)) {
    struct stat other {};
    if (stat(claim.path().c_str(), &other) == 0 && other.st_ino == own.st_ino) {
      names.push_back(claim.path().filename());
    }
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace platform
