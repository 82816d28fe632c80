#include "host/watch_parent.h"

#include <iterator>

#include "host/end_deadline.h"
#include "host/process_state.h"
#include "support/process_utility.h"
#include "support/thread_procedure.h"

namespace {

constexpr Tracer kTrace{"WatchParentProcessThreadProc"};

void WaitForEnd(HANDLE abortEvent, const ScopedHandle& parent) {
  const HANDLE handles[] = {abortEvent, parent.Get()};
  switch (WaitForMultipleObjects(std::size(handles), handles, FALSE, INFINITE)) {
    case WAIT_OBJECT_0:
      kTrace("Exiting Watch Parent thread due to abort event");
      break;
    case WAIT_OBJECT_0 + 1:
      BeginEnd();
      kTrace("The parent process has terminated");
      ShutdownTagwrightServer();
      break;
    default:
      break;
  }
}

void WatchParent(HANDLE abortEvent) {
  if (abortEvent == nullptr) return;
  const ScopedHandle parent = OpenParent();
  if (parent.IsValid()) WaitForEnd(abortEvent, parent);
}

}  // namespace

ScopedHandle OpenParent() {
  const DWORD parentId = ProcessUtility::GetParentProcessId();
  if (parentId == ProcessUtility::kNoProcessId) return ScopedHandle();
  return ScopedHandle(OpenProcess(SYNCHRONIZE, FALSE, parentId));
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
