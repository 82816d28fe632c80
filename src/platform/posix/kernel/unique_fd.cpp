#include "platform/posix/kernel/unique_fd.h"

#include <cerrno>

namespace platform {

void UniqueFd::Reset(int fd) {
  const int old = std::exchange(_fd, fd);
  if (old < 0) return;
  const int savedErrno = errno;
  close(old);
  errno = savedErrno;
}

}  // namespace platform
