#include "host/watchers.h"

#include <iterator>
#include <memory>
#include <utility>

#include "host/idle.h"
#include "host/main_log.h"
#include "host/watch_parent.h"
#include "support/thread_start.h"

namespace {

void SignalAbort(HANDLE event, const char* failureText) {
  if (!SetEvent(event)) kMainLog.Error(failureText);
}

}  // namespace

void Watchers::Start() {
  hAbortWatchParentEvent = CreateManualResetEvent();
  hParentWatcher = StartThread(WatchParentProcessThreadProc, &hAbortWatchParentEvent);
  hIdleEvent = CreateManualResetEvent();
  hAbortWatchIdleEvent = CreateManualResetEvent();
  StartIdleWatcher();
}

void Watchers::StartIdleWatcher() {
  auto parameters =
      std::make_unique<WatchIdleParameters>(WatchIdleParameters{hAbortWatchIdleEvent, hIdleEvent});
  hIdleWatcher = StartThread(WatchIdleThreadProc, parameters.get());
  if (hIdleWatcher != nullptr) parameters.release();  // The thread owns it.
}

void Watchers::Stop() {
  SignalAbort(hAbortWatchParentEvent, "SetEvent hAbortWatchParentEvent failed");
  SignalAbort(hAbortWatchIdleEvent, "SetEvent hAbortWatchIdleEvent failed");
  kMainLog("Waiting for watch parent and watch idle threads to exit", LogLevel::kDetailInfoD);
  if (hParentWatcher != nullptr && hIdleWatcher != nullptr) WaitForThreads();
}

void Watchers::WaitForThreads() const {
  const HANDLE threads[] = {hParentWatcher, hIdleWatcher};
  const DWORD result = WaitForMultipleObjects(std::size(threads), threads, TRUE, kMaxEndMs);
  if (result == WAIT_OBJECT_0 || result == WAIT_OBJECT_0 + 1) {
    kMainLog("Watch Parent and Watch Idle successfully aborted");
  } else {
    kMainLog("Either the Watch Parent or Watch Idle thread didn't end as expected\n");
  }
}

void Watchers::CloseHandles() {
  kMainLog("Cleaning up handles", LogLevel::kDetailInfoD);
  for (HANDLE* handle : {&hParentWatcher, &hAbortWatchParentEvent, &hIdleWatcher,
                         &hAbortWatchIdleEvent, &hIdleEvent}) {
    const ScopedHandle closed(std::exchange(*handle, nullptr));
  }
}
