/// Whether people read what a program prints.
#pragma once

namespace platform {

/// True when standard output is a terminal; one that understands colours (ANSI escape sequences)
/// afterwards.
bool PrepareTerminal();

}  // namespace platform
