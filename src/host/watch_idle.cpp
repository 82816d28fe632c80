#include "host/watch_idle.h"

#include "host/process_state.h"
#include "support/com_apartment.h"
#include "support/framework_message.h"
#include "support/thread_guard.h"

namespace {

constexpr char kFunction[] = "WatchIdleThreadProc";
constexpr DWORD kMinuteMs = 60000;

void Trace(const char* text) {
  Log::Information([&] { return OString(kFunction) << ": " << text; });
}

void WatchGuarded(WatchIdleParameters* parameters) {
  try {
    Trace(" Idle Thread started");
    const auto [abortEvent, idleEvent] = *parameters;
    delete parameters;
    if (abortEvent == nullptr || abortEvent == INVALID_HANDLE_VALUE) return;
    WatchForIdleness({
        [abort = abortEvent](DWORD timeoutMs) { return WaitForSingleObject(abort, timeoutMs); },
        [] { return PipeActivity.exchange(0) != 0; },
        [idle = idleEvent] { SetEvent(idle); },
    });
  } catch (CException* exception) {
    Log::Error([&] {
      return OString("WatchIdleThreadProc: Exception. Message = ") << FrameworkMessage(*exception);
    });
    exception->Delete();
  }
}

}  // namespace

void WatchForIdleness(const IdleWatch& watch) {
  int idleMinutes = 0;
  for (;;) {
    const DWORD result = watch.waitForAbort(kMinuteMs);
    if (result == WAIT_OBJECT_0) {
      Trace("Exiting Watch Idle thread due to abort event");
      return;
    }
    if (result == WAIT_FAILED) return;
    if (result != WAIT_TIMEOUT) continue;
    idleMinutes = watch.takeActivity() ? 0 : idleMinutes + 1;
    if (idleMinutes < kIdleMinutes) continue;
    Trace("Detected process is Idle. Signaling main thread");
    watch.signalIdle();
  }
}

unsigned __stdcall WatchIdleThreadProc(void* parameter) {
  OExceptionHandler handler(kFunction, kThreadHandlerFlags);
  handler.SetEventLog(Z7SvEventLog);
  RunGuarded(handler, [&] {
    InitializeApartment([] { return OString(kFunction) << ": "; });
    WatchGuarded(static_cast<WatchIdleParameters*>(parameter));
    Trace("Thread Exit");
    CoUninitialize();
  });
  handler.UnSetEventLog();
  return 0;
}
