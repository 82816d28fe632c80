/// The connection thread: it waits in ConnectNamedPipe while the message thread keeps the time.
#include <iterator>

#include "pipe/pipe_server.h"
#include "support/thread_procedure.h"
#include "support/thread_start.h"
#include "support/thread_termination.h"

namespace {

constexpr Tracer kConnectThread{"PipeServer::ConnectThreadProc"};
constexpr char kWaitClient[] = "PipeServer::WaitClientConnection";

}  // namespace

bool PipeServer::WaitClientConnection(DWORD timeout) {
  Log::Information(
      [&] { return LogIntro(kWaitClient) << "Enter. Timeout: 0x" << FormatHex(timeout); });
  if (!StartConnectionThread()) {
    Log::Error([&] { return LogIntro(kWaitClient) << "Couldn't start connnect thread"; });
    return false;
  }
  // The thread ends also when a line of the wait cannot be written for lack of memory.
  struct ThreadEnd {
    ~ThreadEnd() { server.EndConnectionThread(timeMs); }
    PipeServer& server;
    DWORD timeMs = 0;
  } end{*this};
  const HANDLE handles[] = {_channel.ShutdownEvent(), _hConnectThread};
  const DWORD result = WaitForMultipleObjects(std::size(handles), handles, FALSE, timeout);
  // Shutdown has cancelled the wait for the client: the thread is on its way out.
  if (result == WAIT_OBJECT_0) end.timeMs = kCancelledConnectionEndMs;
  ReportConnectionWait(result);
  return result == WAIT_OBJECT_0 + 1 && _connected;
}

bool PipeServer::StartConnectionThread() {
  // Nobody is to terminate this thread now, and to leave the other one behind unknown.
  OAutoLock lock(_terminationLock);
  const HANDLE thread = StartThread(ConnectThreadProc, this);
  if (thread == nullptr) return false;
  _hConnectThread = thread;
  return true;
}

void PipeServer::EndConnectionThread(DWORD endTimeMs) {
  const HANDLE thread = _hConnectThread;
  if (thread == INVALID_HANDLE_VALUE) return;
  if (endTimeMs != 0) WaitForSingleObject(thread, endTimeMs);
  if (IsActive(thread)) {
    TerminateBetweenLogLines(thread, kTerminatedThreadExitCode);
    _channel.ForgetAnnouncedCall();  // Nobody else makes a call while this thread is there.
  }
  // Whoever ends it first closes the handle.
  if (_hConnectThread.exchange(INVALID_HANDLE_VALUE) != INVALID_HANDLE_VALUE) CloseHandle(thread);
}

void PipeServer::ReportConnectionWait(DWORD waitResult) const {
  if (waitResult == WAIT_OBJECT_0) {
    Trace(kWaitClient, "Shutdown detected");
  } else if (waitResult == WAIT_TIMEOUT) {
    Log::Warning([&] { return LogIntro(kWaitClient) << "Connection attempt timed out"; });
  } else if (waitResult == WAIT_OBJECT_0 + 1 && _connected) {
    Trace(kWaitClient, "Successfully Connected");
  } else if (waitResult == WAIT_OBJECT_0 + 1) {
    Log::Warning(
        [&] {
          return LogIntro(kWaitClient)
                 << "Connection thread exited without connecting. _shutdown = "
                 << static_cast<int>(_channel.IsShutdown());
        },
        LogLevel::kDetailInfo);
  }
}

unsigned __stdcall PipeServer::ConnectThreadProc(void* parameter) {
  RunThread(kConnectThread.Name(), [&] {
    static_cast<PipeServer*>(parameter)->ConnectClient();
    CoUninitialize();
    kConnectThread("Exit");
  });
  _endthreadex(0);
}

void PipeServer::ConnectClient() try {
  const auto intro = [&] { return StaticLogIntro(kConnectThread.Name(), _pipeName); };
  Log::Information([&] { return intro() << "Enter"; });
  InitializeApartment(intro);
  const DWORD error = _channel.Connect();
  _connected = error == ERROR_SUCCESS || error == ERROR_PIPE_CONNECTED;
  if (_connected) {
    Log::Information([&] { return intro() << "ConnectNamedPipe succeeded"; });
  } else {
    Log::Error(
        [&] { return intro() << "ConnectNamedPipe failed.  Last error = 0x" << FormatHex(error); });
  }
} catch (CException* exception) {
  kConnectThread.Error(
      [&] { return OString("Exception. Message = ") << FrameworkMessage(*exception); });
  throw;
}
