#include "pipe/pipe_server.h"

#include <iterator>
#include <vector>

#include "support/log.h"
#include "support/security_dacl.h"
#include "support/thread_termination.h"

namespace {

const char kPipePrefix[] = "\\\\.\\pipe\\";

/// Length of a pipe name's end that log lines show.
constexpr int kPartialNameLength = 8;

constexpr char kOwnersWait[] = "PipeServer::WaitForMultipeObjectsOrPipeTermination";

}  // namespace

PipeServer::PipeServer(const OString& pipeName)
    : _hMessageThread(INVALID_HANDLE_VALUE),
      _connected(false),
      _connectionTimeout(0),
      _onActivityCallback(nullptr),
      _hConnectThread(INVALID_HANDLE_VALUE) {
  Trace("PipeServer::PipeServer", "Constructor called");
  _pipeName = OString(kPipePrefix) + pipeName;
}

PipeServer::~PipeServer() {
  Trace("PipeServer::~PipeServer", "Destructor called");
  if (_connected) _channel.Disconnect();
  if (_hMessageThread != INVALID_HANDLE_VALUE) CloseHandle(_hMessageThread);
}

bool PipeServer::CreateServerPipe() {
  static constexpr char kFunction[] = "PipeServer::CreateServerPipe";
  Trace(kFunction, "Enter");
  SecurityDACL security;
  security.AddACE(SecurityDACL::kEveryoneFullAccess);
  if (_channel.Create(_pipeName, security)) return true;
  const DWORD error = GetLastError();
  Log::Error([&] {
    return LogIntro(kFunction) << "CreateNamedPipe failed. GetLastError: 0x" << FormatHex(error);
  });
  return false;
}

std::int32_t PipeServer::WaitForMultipeObjectsOrPipeTermination(DWORD nCount,
                                                                const HANDLE* pHandles,
                                                                DWORD waitTimeout,
                                                                DWORD maxShutdownTime) {
  Trace(kOwnersWait, "Enter");
  std::int32_t result = kWaitFailed;
  if (_hMessageThread != INVALID_HANDLE_VALUE) {
    std::vector<HANDLE> handles = {_channel.ShutdownEvent(), _hMessageThread};
    handles.insert(handles.end(), pHandles, pHandles + nCount);
    const DWORD waitResult = WaitForMultipleObjects(static_cast<DWORD>(handles.size()),
                                                    handles.data(), FALSE, waitTimeout);
    result = MapWaitResult(waitResult, maxShutdownTime);
  }
  Trace(kOwnersWait, "Exit");
  return result;
}

std::int32_t PipeServer::MapWaitResult(DWORD waitResult, DWORD maxShutdownTime) {
  constexpr DWORD kOwnHandles = 2;
  if (waitResult == WAIT_OBJECT_0) {
    Trace(kOwnersWait, "Shutdown was signaled");
    EndMessageThread(maxShutdownTime, true);
    return kShutdownSignaled;
  }
  if (waitResult == WAIT_OBJECT_0 + 1) {
    Trace(kOwnersWait, "Pipe message handling thread exited");
    return kMessageThreadEnded;
  }
  if (waitResult < WAIT_OBJECT_0 + MAXIMUM_WAIT_OBJECTS) {
    Trace(kOwnersWait, "User event signaled");
    return kUserEvent + static_cast<std::int32_t>(waitResult - WAIT_OBJECT_0 - kOwnHandles);
  }
  if (waitResult >= WAIT_ABANDONED_0 + kOwnHandles &&
      waitResult < WAIT_ABANDONED_0 + MAXIMUM_WAIT_OBJECTS) {
    Trace(kOwnersWait, "User handle abandoned");
    return kUserAbandoned + static_cast<std::int32_t>(waitResult - WAIT_ABANDONED_0 - kOwnHandles);
  }
  if (waitResult == WAIT_TIMEOUT) {
    Trace(kOwnersWait, "Wait Timed Out");
    return kWaitTimedOut;
  }
  return kWaitFailed;
}

void PipeServer::Run(DWORD connectionTimeout, DWORD maxShutdownTime) {
  static constexpr char kFunction[] = "PipeServer::Run";
  Trace(kFunction, "Enter");
  bool threadEnded = false;
  if (StartProcessMessageThread(connectionTimeout) && _hMessageThread != INVALID_HANDLE_VALUE) {
    const HANDLE handles[] = {_channel.ShutdownEvent(), _hMessageThread};
    threadEnded =
        WaitForMultipleObjects(std::size(handles), handles, FALSE, INFINITE) == WAIT_OBJECT_0 + 1;
  }
  if (!threadEnded) EndMessageThread(maxShutdownTime, false);
  Trace(kFunction, "Exit");
}

void PipeServer::EndMessageThread(DWORD maxShutdownTime, bool logTermination) {
  if (_hMessageThread == INVALID_HANDLE_VALUE) return;
  if (maxShutdownTime != 0) WaitForSingleObject(_hMessageThread, maxShutdownTime);
  if (!IsActive(_hMessageThread)) return;
  if (logTermination) {
    Trace(kOwnersWait, "Calling TerminateThread");
  }
  TerminateMessageThread();
}

void PipeServer::TerminateMessageThread() {
  {
    OAutoLock lock(_terminationLock);
    TerminateBetweenLogLines(_hMessageThread, kTerminatedThreadExitCode);
  }
  EndConnectionThread(kCancelledConnectionEndMs);
  _channel.ForgetAnnouncedCall();
}

bool PipeServer::IsActive(HANDLE thread) {
  DWORD exitCode = 0;
  return GetExitCodeThread(thread, &exitCode) && exitCode == STILL_ACTIVE;
}

void PipeServer::Shutdown() {
  Trace("PipeServer::Shutdown", "Enter");
  _channel.Shutdown();
}

bool PipeServer::CancelPipeIo() const { return _channel.CancelAll(); }

bool PipeServer::IsShutdown() { return _channel.IsShutdown(); }

HANDLE PipeServer::GetThreadHandle() const { return _hMessageThread; }

void PipeServer::SetOnActivityCallback(PipeServer* pSrc) {
  OAutoLock sourceLock(pSrc->_callbackLock);
  SetOnActivityCallback(pSrc->_onActivityCallback);
}

void PipeServer::SetOnActivityCallback(OnActivityCallback onActivityCallbackPtr) {
  OAutoLock lock(_callbackLock);
  _onActivityCallback = onActivityCallbackPtr;
}

void PipeServer::ClearOnActivityCallback() { SetOnActivityCallback(OnActivityCallback{nullptr}); }

void PipeServer::CallOnActivityCallback() {
  OAutoLock lock(_callbackLock);
  if (_onActivityCallback != nullptr) _onActivityCallback();
}

OString PipeServer::LogIntro(const char* functionName) const {
  return StaticLogIntro(functionName, _pipeName);
}

OString PipeServer::StaticLogIntro(const char* functionName, const OString& pipeName) {
  return OString("Pipe: ") << ConvertToPartialPipeName(pipeName) << ": " << functionName << ": ";
}

OString PipeServer::ConvertToPartialPipeName(OString pipeName) {
  return OString("...") << pipeName.Right(kPartialNameLength);
}

void PipeServer::Trace(const char* functionName, const char* text) const {
  Log::Information([&] { return LogIntro(functionName) << text; });
}
