/// What the layer sets for the whole process when it is loaded.
#include <signal.h>
#include <sys/resource.h>

namespace {

/// The usual soft limit of 1024 is there for programs that use select; the layer does not. A
/// process with many pipes needs more.
void RaiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

[[gnu::constructor]] void PrepareProcess() {
  RaiseDescriptorLimit();
  // A file that may not grow any further fails the write, like a full disk, and not the process.
  signal(SIGXFSZ, SIG_IGN);
}

}  // namespace
