#include "platform/terminal.h"

#include <unistd.h>

namespace platform {

bool PrepareTerminal() { return isatty(STDOUT_FILENO) == 1; }

}  // namespace platform
