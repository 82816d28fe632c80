/// The process entry.
#include "host/server_process.h"

extern "C" int wmain(int argc, WCHAR** argv) { RunServerProcess(argc, argv); }
