#include "host/server_process.h"

#include "host/command_arguments.h"
#include "host/end_deadline.h"
#include "host/idle.h"
#include "host/main_log.h"
#include "host/process_state.h"
#include "host/watchers.h"
#include "service/tagwright_controller.h"
#include "service/tagwright_server.h"
#include "support/thread_procedure.h"

namespace {

/// What outlives an exception of the run, because threads that still run refer to it.
struct ProcessMain {
  OMutex shutdownMutex{"Tagwright_Shutdown_Mutex", INFINITE};
  Watchers watchers;
};

PipeServer* CreateServer(const OString& pipeName) {
  if (g_IsUsingControlChannel) return new TagwrightController(pipeName);
  return new TagwrightServer(pipeName);
}

void DeleteServer() {
  OAutoLock lock(serverCritical);
  delete pServer;
  pServer = nullptr;
}

/// Without the idle event the wait fails while the server still serves; its threads end before it
/// is deleted.
void StopUnwatchedServer() {
  ShutdownTagwrightServer();
  pServer->WaitForMultipeObjectsOrPipeTermination(0, nullptr, INFINITE, kMaxShutdownTimeMs);
}

void ServeUntilStopped(ProcessMain& main) {
  if (!pServer->StartProcessMessageThread(kConnectionTimeoutMs)) return;
  const HANDLE idleEvent = main.watchers.IdleEvent();
  for (;;) {
    const auto result = pServer->WaitForMultipeObjectsOrPipeTermination(1, &idleEvent, INFINITE,
                                                                        kMaxShutdownTimeMs);
    if (result == PipeServer::kWaitFailed) StopUnwatchedServer();
    if (result != PipeServer::kUserEvent) return;
    DecideIdleShutdown(main.shutdownMutex, idleEvent);
  }
}

void StopProcess(ProcessMain& main) {
  BeginEnd();
  kMainLog("Detected that pipe server has stopped", LogLevel::kDetailInfoD);
  DeleteServer();
  main.watchers.Stop();
  main.watchers.CloseHandles();
}

void Serve(ProcessMain& main, const OString& pipeName) {
  pServer = CreateServer(pipeName);
  pServer->SetOnActivityCallback(OnPipeActivityCallback);
  if (!pServer->CreateServerPipe()) {
    kMainLog.Error("Server is not Ready. This can happen when this application is launched twice");
    return;
  }
  StartEndDeadline(g_IsUsingControlChannel ? kMaxControlEndMs : kMaxEndMs);
  SetConsoleCtrlHandler(ConsoleHandler, TRUE);
  main.watchers.Start();
  ServeUntilStopped(main);
  StopProcess(main);
}

void Run(ProcessMain& main, int argc, const WCHAR* const* argv) {
  Log::Information("TagwrightServer: Starting");
  const CommandArguments arguments(argc, argv);
  g_IsUsingControlChannel = arguments.IsUsingControlChannel();
  if (arguments.HasError()) {
    kMainLog.Error("_tmain:  Has command parameters error");
  } else {
    LogFrameworkException(kMainLog, [&] { Serve(main, arguments.GetPipeName()); });
    DeleteServer();
  }
  kMainLog("Tagwright Exit");
}

}  // namespace

void RunServerProcess(int argc, const WCHAR* const* argv) {
  ProcessMain main;
  Z7SvEventLog.reset(new OEventLog("Brennick Tagwright.Native", OEventLog::kApplicationLog));
  OExceptionHandler handler(kMainLog.Name(), kThreadHandlerFlags);
  handler.SetEventLog(Z7SvEventLog);
  RunGuarded(handler, [&] { Run(main, argc, argv); });
  handler.UnSetEventLog();
  {
    // A console control thread may still be in ShutdownTagwrightServer, where it logs.
    OAutoLock lock(serverCritical);
    Z7SvEventLog.reset();
  }
  ExitProcess(0);
}
