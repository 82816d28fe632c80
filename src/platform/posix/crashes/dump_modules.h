/// The program and its libraries, as a dump lists them.
#pragma once

#include <span>

#include "platform/posix/crashes/dump_file.h"
#include "platform/posix/crashes/process_maps.h"

namespace platform {

/// Writes the list with names and build ids; where it lies.
minidump::Location AppendModules(DumpFile& file, std::span<const Mapping> mappings);

}  // namespace platform
