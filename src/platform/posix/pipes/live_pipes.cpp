#include "platform/live_pipes.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/pipes/claim.h"
#include "platform/posix/pipes/name.h"
#include "platform/posix/pipes/socket_client.h"

namespace platform {

std::vector<LivePipe> PipesOfServer(const std::u16string& name) {
  const KernelScope scope;
  std::string fileName;
  if (PipeFileName((u"\\\\.\\pipe\\" + name).c_str(), fileName) != 0 || !IsClaimed(fileName)) {
    return {};
  }
  // The claims of a process are links to one file.
  const std::filesystem::path folder = StateFolder("pipe/.lock");
  struct stat own {};
  if (stat((folder / fileName).c_str(), &own) != 0) return {};
  std::vector<LivePipe> pipes;
  std::error_code ignored;
  for (const auto& claim : std::filesystem::directory_iterator(folder, ignored)) {
    struct stat other {};
    if (stat(claim.path().c_str(), &other) == 0 && other.st_ino == own.st_ino) {
      const std::string pipe = claim.path().filename();
      pipes.push_back({pipe, ClientOfSocket(SocketPath(pipe))});
    }
  }
  std::ranges::sort(pipes, {}, &LivePipe::name);
  return pipes;
}

}  // namespace platform
