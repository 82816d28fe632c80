/// The connection thread: it waits in ConnectNamedPipe while the message thread keeps the time.
#include "pipe/blocking_call.h"
#include "pipe/pipe_server.h"
#include "support/com_apartment.h"
#include "support/framework_message.h"
#include "support/log.h"
#include "support/oevent_log.h"
#include "support/scoped_handle.h"
#include "support/thread_guard.h"
#include "support/thread_termination.h"

namespace {

constexpr char kConnectThread[] = "PipeServer::ConnectThreadProc";
constexpr char kWaitClient[] = "PipeServer::WaitClientConnection";

/// How long a connection thread may take to end after its pipe's I/O was cancelled.
constexpr DWORD kCancelledConnectionEndMs = 1000;

}  // namespace

bool PipeServer::WaitClientConnection(DWORD timeout) {
  Log::Information(
      [&] { return LogIntro(kWaitClient) << "Enter. Timeout: 0x" << FormatHex(timeout); });
  const ScopedHandle thread(
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, ConnectThreadProc, this, 0, nullptr)));
  if (!thread.IsValid()) {
    Log::Error([&] { return LogIntro(kWaitClient) << "Couldn't start connnect thread"; });
    return false;
  }
  const HANDLE handles[] = {_hShutdownEvent, thread.Get()};
  const DWORD result = WaitForMultipleObjects(2, handles, FALSE, timeout);
  const bool connected = ReportConnectionWait(result);
  // Shutdown has cancelled the wait for the client: the thread is on its way out.
  if (result == WAIT_OBJECT_0) WaitForSingleObject(thread.Get(), kCancelledConnectionEndMs);
  if (IsActive(thread.Get())) TerminateBetweenLogLines(thread.Get(), kTerminatedThreadExitCode);
  return connected;
}

bool PipeServer::ReportConnectionWait(DWORD waitResult) const {
  switch (waitResult) {
    case WAIT_OBJECT_0:
      Trace(kWaitClient, "Shutdown detected");
      return false;
    case WAIT_OBJECT_0 + 1:
      if (_connected) {
        Trace(kWaitClient, "Successfully Connected");
        return true;
      }
      Log::Warning(
          [&] {
            return LogIntro(kWaitClient)
                   << "Connection thread exited without connecting. _shutdown = "
                   << static_cast<int>(_shutdown);
          },
          LogLevel::kDetailInfo);
      return false;
    case WAIT_TIMEOUT:
      Log::Warning([&] { return LogIntro(kWaitClient) << "Connection attempt timed out"; });
      return false;
    default:
      return false;
  }
}

unsigned __stdcall PipeServer::ConnectThreadProc(void* parameter) {
  {
    OExceptionHandler handler(kConnectThread, kThreadHandlerFlags);
    handler.SetEventLog(Z7SvEventLog);
    RunGuarded(handler, [&] {
      static_cast<PipeServer*>(parameter)->ConnectClient();
      CoUninitialize();
      Log::Information("PipeServer::ConnectThreadProc: Exit");
    });
    handler.UnSetEventLog();
  }
  _endthreadex(0);
  return 0;
}

DWORD PipeServer::ConnectPipe() {
  BlockingCall call(*this);
  if (IsShutdown()) return ERROR_OPERATION_ABORTED;
  return ConnectNamedPipe(_hPipe, nullptr) ? ERROR_SUCCESS : GetLastError();
}

void PipeServer::ConnectClient() try {
  const auto intro = [&] { return StaticLogIntro(kConnectThread, _pipeName); };
  Log::Information([&] { return intro() << "Enter"; });
  InitializeApartment(intro);
  const DWORD error = ConnectPipe();
  _connected = error == ERROR_SUCCESS || error == ERROR_PIPE_CONNECTED;
  if (_connected) {
    Log::Information([&] { return intro() << "ConnectNamedPipe succeeded"; });
  } else {
    Log::Error(
        [&] { return intro() << "ConnectNamedPipe failed.  Last error = 0x" << FormatHex(error); });
  }
} catch (CException* exception) {
  Log::Error([&] {
    return OString(kConnectThread) << ": Exception. Message = " << FrameworkMessage(*exception);
  });
  throw;
}
