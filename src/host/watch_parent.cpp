#include "host/watch_parent.h"

#include "host/process_state.h"
#include "support/com_apartment.h"
#include "support/framework_message.h"
#include "support/process_utility.h"
#include "support/scoped_handle.h"
#include "support/thread_guard.h"

namespace {

constexpr char kFunction[] = "WatchParentProcessThreadProc";

void Trace(const char* text) {
  Log::Information([&] { return OString(kFunction) << ": " << text; });
}

ScopedHandle OpenParent() {
  const DWORD parentId = ProcessUtility::GetParentProcessId();
  if (parentId == ProcessUtility::kNoProcessId) return ScopedHandle();
  return ScopedHandle(OpenProcess(SYNCHRONIZE, FALSE, parentId));
}

void WatchParent(HANDLE abortEvent, const ScopedHandle& parent) {
  const HANDLE handles[] = {abortEvent, parent.Get()};
  switch (WaitForMultipleObjects(2, handles, FALSE, INFINITE)) {
    case WAIT_OBJECT_0:
      Trace("Exiting Watch Parent thread due to abort event");
      break;
    case WAIT_OBJECT_0 + 1:
      Trace("The parent process has terminated");
      ShutdownTagwrightServer();
      break;
    default:
      break;
  }
}

void WatchParentGuarded(HANDLE abortEvent) {
  ScopedHandle parent;
  try {
    if (abortEvent == nullptr) return;
    parent = OpenParent();
    if (parent.IsValid()) WatchParent(abortEvent, parent);
  } catch (CException* exception) {
    Log::Error([&] {
      return OString(kFunction) << ": Exception. Message = " << FrameworkMessage(*exception);
    });
    exception->Delete();
  }
}

}  // namespace

unsigned __stdcall WatchParentProcessThreadProc(void* parameter) {
  OExceptionHandler handler(kFunction, kThreadHandlerFlags);
  handler.SetEventLog(Z7SvEventLog);
  RunGuarded(handler, [&] {
    InitializeApartment([] { return OString(kFunction) << ": "; });
    WatchParentGuarded(*static_cast<const HANDLE*>(parameter));
    CoUninitialize();
    Trace("Thread Exit");
  });
  handler.UnSetEventLog();
  return 0;
}
