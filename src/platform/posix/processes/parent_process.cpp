#include "platform/posix/processes/parent_process.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "platform/parent_process.h"

namespace platform {
namespace {

pid_t g_parentId = -1;  // Until HoldParent has been called.
int g_parentFd = -1;    // Never closed; -1 when the parent had ended already.

}  // namespace

[[gnu::constructor]] void HoldParent() {
  if (g_parentId >= 0) return;
  g_parentId = getppid();
  UniqueFd parent(static_cast<int>(syscall(SYS_pidfd_open, g_parentId, 0)));
  // Another parent now: the first one ended meanwhile, and its id may be another process's by now.
  if (getppid() == g_parentId) g_parentFd = parent.Release();
}

pid_t ParentId() { return g_parentId; }

UniqueFd OpenParent() {
  if (g_parentFd >= 0) return UniqueFd(fcntl(g_parentFd, F_DUPFD_CLOEXEC, 0));
  errno = ESRCH;
  return UniqueFd();
}

}  // namespace platform
