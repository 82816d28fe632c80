/// The message thread: requests one after another, each with its reply.
#include <algorithm>
#include <exception>

#include "pipe/pipe_server.h"
#include "support/thread_procedure.h"
#include "support/thread_start.h"
#include "support/wiped_buffer.h"

namespace {

constexpr Tracer kMessageThread{"PipeServer::ProcessMessagesThread"};
constexpr Tracer kMessageLoop{"PipeServer::ProcessMessages"};

/// A refused payload is read in pieces of this size and dropped.
constexpr DWORD kDrainPieceBytes = 64 * 1024;

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
    const HANDLE thread = StartThread(ProcessMessagesThreadProc, this);
    started = thread != nullptr;
    if (started) {
      _hMessageThread = thread;
    } else {
      Log::Error([&] { return LogIntro(kFunction) << "Couldn't start message thread"; });
    }
  }
  Trace(kFunction, "Exit");
  return started;
}

unsigned __stdcall PipeServer::ProcessMessagesThreadProc(void* parameter) {
  static_cast<PipeServer*>(parameter)->ProcessMessagesThread();
  _endthreadex(0);
}

void PipeServer::ProcessMessagesThread() {
  const auto work = [&] {
    LogExceptionsOf(kMessageThread, [&] { ServeClient(); });
    Trace(kMessageThread.Name(), "Calling CoUninitialize in preperation to exit");
    CoUninitialize();
    Trace(kMessageThread.Name(), "Thread Exit");
  };
  RunThread(kMessageThread.Name(), work, OtherExceptions::kWereLogged);
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
    while (!_channel.IsShutdown()) ServeRequest();
  });
  Trace(kMessageLoop.Name(), "Calling CoUninitialize in preperation to exit");
  CoUninitialize();
  Trace(kMessageLoop.Name(), "Thread exit");
  return 0;
}

void PipeServer::ServeRequest() {
  Log::Information([&] { return LogIntro(kMessageLoop.Name()) << "While loop"; },
                   LogLevel::kDetailInfoA);
  Tagwright::MessageHeader request;
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
  WipedBuffer payload(request.payloadLength);
  if (!ReadPayload(request.payloadLength, payload.Data())) return;
  Tagwright::MessageHeader reply;
  bool keepServing = true;
  if (!_channel.IsShutdown()) keepServing = ParseIncomingMessage(request, payload.Data(), reply);
  payload.Clear();  // Before the reply: its client may take any time to read it.
  if (!_channel.IsShutdown()) Reply(reply);
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
  WipedBuffer piece(kDrainPieceBytes);
  DWORD bytesRead = 0;
  for (DWORD left = payloadLength; left > 0; left -= bytesRead) {
    if (!ReadBytes(piece.Data(), std::min(left, kDrainPieceBytes), &bytesRead)) break;
  }
}

void PipeServer::Reply(const Tagwright::MessageHeader& reply) {
  if (_channel.Write(&reply, sizeof(reply))) return;
  Log::Warning([&] { return LogIntro(kMessageLoop.Name()) << "Could not write reply message"; });
}

void PipeServer::FinishServing() {
  // The client is to have its reply before the pipe goes.
  _channel.Flush();
  Shutdown();
}

bool PipeServer::ReadBytes(BYTE* pDestinationBuffer, DWORD nBytesToRead, DWORD* pTotalBytesRead) {
  Trace("PipeServer::ReadBytes", "Called");
  return _channel.ReadExactly(pDestinationBuffer, nBytesToRead, pTotalBytesRead);
}
