/// The message thread: requests one after another, each with its reply.
#include <exception>
#include <memory>

#include "pipe/blocking_call.h"
#include "pipe/pipe_server.h"
#include "support/secure_wipe.h"
#include "support/thread_procedure.h"

namespace {

constexpr Tracer kMessageThread{"PipeServer::ProcessMessagesThread"};
constexpr Tracer kMessageLoop{"PipeServer::ProcessMessages"};

/// How long the loop waits after a failed read before it tries again.
constexpr DWORD kFailedReadPauseMs = 500;

/// A refused payload is read in pieces of this size and dropped.
constexpr DWORD kDrainPieceBytes = 64 * 1024;

/// A payload of exactly the announced size; it held a job, so it is wiped before it is freed.
class PayloadBuffer {
 public:
  explicit PayloadBuffer(DWORD sizeBytes)
      : _sizeBytes(sizeBytes),
        _bytes(sizeBytes == 0 ? nullptr : std::make_unique_for_overwrite<BYTE[]>(sizeBytes)) {}
  ~PayloadBuffer() {
    if (_bytes) SecureWipe(_bytes.get(), _sizeBytes);
  }
  PayloadBuffer(const PayloadBuffer&) = delete;
  PayloadBuffer& operator=(const PayloadBuffer&) = delete;

  /// Null when the size is 0.
  BYTE* Get() const { return _bytes.get(); }

 private:
  DWORD _sizeBytes;
  std::unique_ptr<BYTE[]> _bytes;
};

/// Runs `work`; an exception on its way to the top of the thread leaves a line of `trace` behind.
void LogExceptionsOf(const Tracer& trace, WorkRef work) {
  try {
    work();
  } catch (CException* exception) {
    trace.Error([&] { return OString("CException. Message = ") << FrameworkMessage(*exception); });
    throw;
  } catch (const std::exception& exception) {
    trace.Error([&] { return OString("std::exception. Message =") << exception.what(); });
    throw;
  } catch (...) {
    trace.Error(
        "Exception thrown of unknown type. Since we're not handling SEH exceptions here it could "
        "be a SEH exception");
    throw;
  }
}

}  // namespace

bool PipeServer::StartProcessMessageThread(DWORD connectionTimeout) {
  static constexpr char kFunction[] = "PipeServer::StartProcessMessageThread";
  _connectionTimeout = connectionTimeout;
  bool started = false;
  if (!IsShutdown()) {
    Trace(kFunction, "Starting message procesing thread");
    const auto thread = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, 0, ProcessMessagesThreadProc, this, 0, nullptr));
    started = thread != nullptr;
    if (started) _hMessageThread = thread;
  }
  Trace(kFunction, "Exit");
  return started;
}

unsigned __stdcall PipeServer::ProcessMessagesThreadProc(void* parameter) {
  static_cast<PipeServer*>(parameter)->ProcessMessagesThread();
  _endthreadex(0);
  return 0;
}

void PipeServer::ProcessMessagesThread() {
  RunThread(kMessageThread.Name(), [&] {
    LogExceptionsOf(kMessageThread, [&] { ServeClient(); });
    Trace(kMessageThread.Name(), "Calling CoUninitialize in preperation to exit");
    CoUninitialize();
    Trace(kMessageThread.Name(), "Thread Exit");
  });
}

void PipeServer::ServeClient() {
  Trace(kMessageThread.Name(), "Enter");
  InitializeApartment([] { return kMessageThread.Intro(); });
  if (!IsShutdown()) WaitClientConnection(_connectionTimeout);
  if (_connected && !IsShutdown()) ProcessMessages();
}

DWORD PipeServer::ProcessMessages() {
  LogExceptionsOf(kMessageLoop, [&] {
    Trace(kMessageLoop.Name(), "Enter");
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    Tagwright::MessageHeader request;
    while (!IsShutdown()) ServeRequest(request);
  });
  Trace(kMessageLoop.Name(), "Calling CoUninitialize in preperation to exit");
  CoUninitialize();
  Trace(kMessageLoop.Name(), "Thread exit");
  return 0;
}

void PipeServer::ServeRequest(Tagwright::MessageHeader& request) {
  Log::Information([&] { return LogIntro(kMessageLoop.Name()) << "While loop"; },
                   LogLevel::kDetailInfoA);
  DWORD bytesRead = 0;
  if (!ReadBytes(reinterpret_cast<BYTE*>(&request), sizeof(request), &bytesRead)) return;
  CallOnActivityCallback();
  if (!request.ValidHeader()) {
    Log::Error([&] { return LogIntro(kMessageLoop.Name()) << "Invalid header"; });
    return;
  }
  if (request.payloadLength > Tagwright::kMaxPayloadBytes) {
    RefusePayload(request.payloadLength);
    return;
  }
  const PayloadBuffer payload(request.payloadLength);
  if (!ReadPayload(request.payloadLength, payload.Get())) return;
  Tagwright::MessageHeader reply;
  bool keepServing = true;
  if (!IsShutdown()) keepServing = ParseIncomingMessage(request, payload.Get(), reply);
  if (!IsShutdown()) Reply(reply);
  if (!keepServing) FinishServing();
}

bool PipeServer::ReadPayload(DWORD payloadLength, BYTE* buffer) {
  if (payloadLength == 0) return true;
  DWORD bytesRead = 0;
  if (ReadBytes(buffer, payloadLength, &bytesRead) && bytesRead == payloadLength) return true;
  if (!IsShutdown()) Log::Error([&] { return LogIntro(kMessageLoop.Name()) << "Payload error"; });
  return false;
}

void PipeServer::RefusePayload(DWORD payloadLength) {
  Log::Error([&] { return LogIntro(kMessageLoop.Name()) << "Payload error"; });
  BYTE piece[kDrainPieceBytes];
  DWORD bytesRead = 0;
  for (DWORD left = payloadLength; left > 0; left -= bytesRead) {
    const DWORD size = left < kDrainPieceBytes ? left : kDrainPieceBytes;
    if (!ReadBytes(piece, size, &bytesRead)) break;
  }
  SecureWipe(piece, sizeof(piece));
}

void PipeServer::Reply(const Tagwright::MessageHeader& reply) {
  DWORD written = 0;
  BOOL succeeded = FALSE;
  {
    BlockingCall call(*this);
    if (IsShutdown()) return;
    succeeded = WriteFile(_hPipe, &reply, sizeof(reply), &written, nullptr);
  }
  if (succeeded && written == sizeof(reply)) return;
  Log::Warning([&] { return LogIntro(kMessageLoop.Name()) << "Could not write reply message"; });
}

void PipeServer::FinishServing() {
  {
    // The client is to have its reply before the pipe goes.
    BlockingCall call(*this);
    FlushFileBuffers(_hPipe);
  }
  Shutdown();
}

bool PipeServer::ReadBytes(BYTE* pDestinationBuffer, DWORD nBytesToRead, DWORD* pTotalBytesRead) {
  Trace("PipeServer::ReadBytes", "Called");
  DWORD& total = *pTotalBytesRead;
  total = 0;
  for (;;) {
    if (total == nBytesToRead) return true;
    DWORD bytesRead = 0;
    BOOL succeeded = FALSE;
    {
      BlockingCall call(*this);
      if (IsShutdown()) break;
      succeeded =
          ReadFile(_hPipe, pDestinationBuffer + total, nBytesToRead - total, &bytesRead, nullptr);
    }
    if (succeeded) {
      total += bytesRead;
    } else if (!IsShutdown()) {
      PauseAfterFailedRead();
    }
  }
  return total == nBytesToRead;
}

void PipeServer::PauseAfterFailedRead() const {
  // A wait on the shutdown event instead of a plain sleep, so that shutdown need not wait for it.
  if (WaitForSingleObject(_hShutdownEvent, kFailedReadPauseMs) == WAIT_FAILED) {
    Sleep(kFailedReadPauseMs);
  }
}
