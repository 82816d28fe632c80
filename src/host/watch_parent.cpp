#include "host/watch_parent.h"

#include <iterator>

#include "host/process_state.h"
#include "support/process_utility.h"
#include "support/thread_procedure.h"

namespace {

constexpr Tracer kTrace{"WatchParentProcessThreadProc"};

/// Returns at once where one of the two is missing.
void WatchParent(HANDLE abortEvent) {
  const ScopedHandle parent = OpenParent();
  const HANDLE handles[] = {abortEvent, parent.Get()};
  switch (WaitForMultipleObjects(std::size(handles), handles, FALSE, INFINITE)) {
    case WAIT_OBJECT_0:
      kTrace("Exiting Watch Parent thread due to abort event");
      break;
    case WAIT_OBJECT_0 + 1:
      kTrace("The parent process has terminated");
      ShutdownTagwrightServer();
      break;
    default:
      break;
  }
}

}  // namespace

ScopedHandle OpenParent() {
  // Without a parent the id opens nothing.
  return ScopedHandle(OpenProcess(SYNCHRONIZE, FALSE, ProcessUtility::GetParentProcessId()));
}

unsigned __stdcall WatchParentProcessThreadProc(void* parameter) {
  RunThread(kTrace.Name(), [&] {
    InitializeApartment([] { return kTrace.Intro(); });
    LogFrameworkException(kTrace, [&] { WatchParent(*static_cast<const HANDLE*>(parameter)); });
    CoUninitialize();
    kTrace("Thread Exit");
  });
  return 0;
}
