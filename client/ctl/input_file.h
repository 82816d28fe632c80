/// Files that people name on the command line.
#pragma once

#include <string>

#include "support/wiped_buffer.h"

namespace Ctl {

/// Everything that the file holds; "-" stands for standard input. A pipe, a FIFO and a device are
/// read until their writers close them. Throws Failure (kLocal) for what cannot be read, or is
/// longer than a request may be.
WipedBuffer LoadFile(const std::string& path);

}  // namespace Ctl
