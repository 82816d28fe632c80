#include "platform/posix/kernel/notice.h"

#include <errno.h>
#include <unistd.h>

#include <cstdio>

namespace platform {

void WriteNotice(const std::string& text) {
  dprintf(STDERR_FILENO, "%s: %s\n", program_invocation_short_name, text.c_str());
}

}  // namespace platform
