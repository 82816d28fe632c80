#include "platform/posix/api/debug_output.h"

#include <sys/socket.h>

#include <string>

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/local_socket.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"

void OutputDebugStringW(LPCWSTR text) {
  const platform::KernelScope scope;
  platform::UniqueFd socket;
  if (platform::ConnectLocal(platform::StateRootPath() + "/debug", SOCK_DGRAM, socket) != 0) return;
  const std::string bytes = platform::ToUtf8(text);
  const std::size_t size = platform::SizeOfWholeCharacters(bytes, kMaxDebugTextBytes);
  send(socket.Get(), bytes.data(), size, MSG_DONTWAIT | MSG_NOSIGNAL);
}
