#include "host/idle.h"

#include "host/main_log.h"
#include "host/process_state.h"
#include "support/scoped_handle.h"
#include "support/thread_procedure.h"

namespace {

constexpr Tracer kTrace{"WatchIdleThreadProc"};

void WatchIdle(WatchIdleParameters* parameters) {
  kTrace(" Idle Thread started");
  const auto [abortEvent, idleEvent] = *parameters;
  delete parameters;
  if (!HandleTraits::IsValid(abortEvent)) return;
  WatchForIdleness({
      [abort = abortEvent](DWORD timeoutMs) { return WaitForSingleObject(abort, timeoutMs); },
      [] { return PipeActivity.exchange(0) != 0; },
      [idle = idleEvent] { SetEvent(idle); },
  });
}

OString IdleLine(const char* outcome) {
  return OString("All pipes were idle for ") << kIdleMinutes << outcome;
}

}  // namespace

void WatchForIdleness(const IdleWatch& watch) {
  int idleMinutes = 0;
  for (;;) {
    const DWORD result = watch.waitForAbort(kIdleMinuteMs);
    if (result == WAIT_OBJECT_0) {
      kTrace("Exiting Watch Idle thread due to abort event");
      return;
    }
    if (result == WAIT_FAILED) return;
    if (result != WAIT_TIMEOUT) continue;
    idleMinutes = watch.takeActivity() ? 0 : idleMinutes + 1;
    if (idleMinutes < kIdleMinutes) continue;
    kTrace("Detected process is Idle. Signaling main thread");
    watch.signalIdle();
  }
}

unsigned __stdcall WatchIdleThreadProc(void* parameter) {
  RunThread(kTrace.Name(), [&] {
    InitializeApartment([] { return kTrace.Intro(); });
    LogFrameworkException(kTrace, [&] { WatchIdle(static_cast<WatchIdleParameters*>(parameter)); });
    kTrace("Thread Exit");
    CoUninitialize();
  });
  return 0;
}

void DecideIdleShutdown(OMutex& shutdownMutex, HANDLE idleEvent) {
  kMainLog("hIdleEvent was signaled. Taking Shutdown mutex");
  shutdownMutex.Acquire();
  if (PipeActivity.load() != 0) {
    shutdownMutex.Release();
    ResetEvent(idleEvent);
    kMainLog.Warning([] {
      return IdleLine(" minutes. But it isn't now. NOT shutting down and mutex released");
    });
    return;
  }
  kMainLog([] { return IdleLine(" minutes. Shutting down server"); });
  ShutdownTagwrightServer();
}
