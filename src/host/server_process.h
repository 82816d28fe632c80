/// The life of the process from its log to its exit code.
#pragma once

#include "platform/windows_api.h"

/// Opens the log, reads the command line, serves the one pipe that the parent connects to until its
/// server stops, and ends the process with exit code 0, whatever happened: the log tells.
[[noreturn]] void RunServerProcess(int argc, const WCHAR* const* argv);
