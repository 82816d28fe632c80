#include "platform/posix/api/debug_output.h"

#include <sys/socket.h>

#include <algorithm>
#include <string>

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/local_socket.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"

namespace {

bool IsContinuationByte(char byte) { return (byte & 0xC0) == 0x80; }

/// Cuts between two characters only.
std::size_t SizeThatFits(const std::string& text) {
  std::size_t size = std::min<std::size_t>(text.size(), kMaxDebugTextBytes);
  while (size < text.size() && size > 0 && IsContinuationByte(text[size])) --size;
  return size;
}

}  // namespace

void OutputDebugStringW(LPCWSTR text) {
  const platform::KernelScope scope;
  platform::UniqueFd socket;
  if (platform::ConnectLocal(platform::StateRootPath() + "/debug", SOCK_DGRAM, socket) != 0) return;
  const std::string bytes = platform::ToUtf8(text);
  send(socket.Get(), bytes.data(), SizeThatFits(bytes), MSG_DONTWAIT | MSG_NOSIGNAL);
}
