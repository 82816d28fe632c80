/// The process entry.
#include "host/server_process.h"
#include "platform/parent_process.h"

extern "C" int wmain(int argc, WCHAR** argv) {
  platform::HoldParent();
  RunServerProcess(argc, argv);
}
