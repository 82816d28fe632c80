#include "platform/live_pipes.h"

#include "platform/native_path.h"

namespace platform {

std::vector<LivePipe> PipesOfServer(const std::wstring& name) {
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW((L"\\\\.\\pipe\\" + name).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return {};
  FindClose(search);
  return {{NativePath(name), std::nullopt}};
}

}  // namespace platform
