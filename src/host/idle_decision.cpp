#include "host/idle_decision.h"

#include "host/main_log.h"
#include "host/process_state.h"
#include "host/watch_idle.h"

namespace {

OString IdleLine(const char* outcome) {
  return OString("All pipes were idle for ") << kIdleMinutes << outcome;
}

}  // namespace

void DecideIdleShutdown(OMutex& shutdownMutex, HANDLE idleEvent) {
  kMainLog("hIdleEvent was signaled. Taking Shutdown mutex");
  shutdownMutex.Acquire();
  if (PipeActivity.fetch_add(0) != 0) {
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
