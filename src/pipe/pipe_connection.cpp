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

void PipeServer::WaitClientConnection(DWORD timeout) {
  Log::Information(
      [&] { return LogIntro(kWaitClient) << "Enter. Timeout: 0x" << FormatHex(timeout); });
  if (!StartConnectionThread()) {
    Log::Error([&] { return LogIntro(kWaitClient) << "Couldn't start connnect thread"; });
    return;
  }
  // The thread ends also when a line of the wait cannot be written for lack of memory.
  struct EndOfThread {
    ~EndOfThread() { server.EndConnectionThread(); }
    PipeServer& server;
  } const end{*this};
  const HANDLE handles[] = {_channel.ShutdownEvent(), _hConnectThread};
  ReportConnectionWait(WaitForMultipleObjects(std::size(handles), handles, FALSE, timeout));
}

bool PipeServer::StartConnectionThread() {
  // Nobody is to terminate this thread now, and to leave the other one behind unknown.
  OAutoLock lock(_terminationLock);
  const HANDLE thread = StartThread(ConnectThreadProc, this);
  if (thread == nullptr) return false;
  _hConnectThread = thread;
  return true;
}

void PipeServer::EndConnectionThread() {
  const HANDLE thread = _hConnectThread;
  if (thread == INVALID_HANDLE_VALUE) return;
  // Shutdown has cancelled the wait for the client: the thread is on its way out.
  if (IsShutdown()) WaitForSingleObject(thread, kCancelledConnectionEndMs);
  if (IsActive(thread)) {
    TerminateBetweenLogLines(thread, kTerminatedThreadExitCode);
    _channel.ForgetAnnouncedCalls();  // Nobody else makes a call while this thread is there.
  }
  // Whoever ends it first closes the handle.
  const ScopedHandle closed(_hConnectThread.exchange(INVALID_HANDLE_VALUE));
}

void PipeServer::ReportConnectionWait(DWORD waitResult) const {
  switch (waitResult) {
    case WAIT_OBJECT_0:
      Trace(kWaitClient, "Shutdown detected");
      break;
    case WAIT_OBJECT_0 + 1:
      ReportConnection();
      break;
    case WAIT_TIMEOUT:
      Log::Warning([&] { return LogIntro(kWaitClient) << "Connection attempt timed out"; });
      break;
    default:
      break;
  }
}

void PipeServer::ReportConnection() const {
  if (_connected) {
    Trace(kWaitClient, "Successfully Connected");
  } else {
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
