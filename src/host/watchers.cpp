#include "host/watchers.h"

#include <memory>

#include "host/idle.h"
#include "host/main_log.h"
#include "host/watch_parent.h"

namespace {

constexpr DWORD kWatcherEndTimeoutMs = 2000;

HANDLE CreateAbortEvent() { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }

HANDLE StartThread(unsigned(__stdcall* procedure)(void*), void* parameter) {
  return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, procedure, parameter, 0, nullptr));
}

void SignalAbort(HANDLE event, const char* failureText) {
  if (!SetEvent(event)) kMainLog.Error(failureText);
}

void Close(HANDLE& handle) {
  if (handle != nullptr) CloseHandle(handle);
  handle = nullptr;
}

}  // namespace

void Watchers::Start() {
  hAbortWatchParentEvent = CreateAbortEvent();
  hParentWatcher = StartThread(WatchParentProcessThreadProc, &hAbortWatchParentEvent);
  hIdleEvent = CreateAbortEvent();
  hAbortWatchIdleEvent = CreateAbortEvent();
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
  const DWORD result = WaitForMultipleObjects(2, threads, TRUE, kWatcherEndTimeoutMs);
  if (result == WAIT_OBJECT_0 || result == WAIT_OBJECT_0 + 1) {
    kMainLog("Watch Parent and Watch Idle successfully aborted");
  } else {
    kMainLog("Either the Watch Parent or Watch Idle thread didn't end as expected\n");
  }
}

void Watchers::CloseHandles() {
  kMainLog("Cleaning up handles", LogLevel::kDetailInfoD);
  Close(hParentWatcher);
  Close(hAbortWatchParentEvent);
  Close(hIdleWatcher);
  Close(hAbortWatchIdleEvent);
  Close(hIdleEvent);
}
