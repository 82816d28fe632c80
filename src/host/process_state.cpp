#include "host/process_state.h"

#include "host/end_deadline.h"
#include "service/tagwright_controller.h"

PipeServer* pServer;
bool g_IsUsingControlChannel;
std::atomic<std::uint32_t> PipeActivity;
OCriticalSection serverCritical;

void OnPipeActivityCallback() { PipeActivity.exchange(1); }

void ShutdownTagwrightServer() {
  BeginEnd();
  OAutoLock lock(serverCritical);
  if (pServer == nullptr) return;
  if (g_IsUsingControlChannel) {
    static_cast<TagwrightController*>(pServer)->ShutdownAllPipes();
  } else {
    pServer->Shutdown();
  }
}

BOOL WINAPI ConsoleHandler(DWORD controlType) {
  switch (controlType) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
    case CTRL_CLOSE_EVENT:
    case CTRL_SHUTDOWN_EVENT:
      ShutdownTagwrightServer();
      return TRUE;
    default:
      return FALSE;
  }
}
