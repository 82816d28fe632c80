#include "pipe/pipe_server.h"

#include <vector>

#include "support/log.h"
#include "support/scoped_library.h"
#include "support/security_dacl.h"
#include "support/thread_termination.h"

namespace {

const char kPipePrefix[] = "\\\\.\\pipe\\";

/// Length of a pipe name's end that log lines show.
constexpr int kPartialNameLength = 8;

/// How often, a millisecond apart, Shutdown cancels a call that was announced but not yet blocked.
constexpr int kMaxCancelAttempts = 100;

bool IsValid(HANDLE handle) { return handle != INVALID_HANDLE_VALUE && handle != nullptr; }

}  // namespace

PipeServer::PipeServer(const OString& pipeName)
    : _hMessageThread(INVALID_HANDLE_VALUE),
      _connected(false),
      _shutdown(0),
      _hPipe(INVALID_HANDLE_VALUE),
      _hShutdownEvent(INVALID_HANDLE_VALUE),
      _connectionTimeout(0),
      _onActivityCallback(nullptr),
      _blockingCalls(0),
      _hConnectThread(INVALID_HANDLE_VALUE) {
  Trace("PipeServer::PipeServer", "Constructor called");
  _pipeName = OString(kPipePrefix) + pipeName;
  _hShutdownEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

PipeServer::~PipeServer() {
  Trace("PipeServer::~PipeServer", "Destructor called");
  if (IsValid(_hPipe)) {
    if (_connected) DisconnectNamedPipe(_hPipe);
    CloseHandle(_hPipe);
    _hPipe = INVALID_HANDLE_VALUE;
  }
  if (IsValid(_hShutdownEvent)) CloseHandle(_hShutdownEvent);
  if (IsValid(_hMessageThread)) CloseHandle(_hMessageThread);
}

bool PipeServer::CreateServerPipe() {
  Trace("PipeServer::CreateServerPipe", "Enter");
  SecurityDACL security;
  security.AddACE("(A;OICI;GA;;;WD)");
  _hPipe = CreateNamedPipeW(_pipeName.wstring(), PIPE_ACCESS_DUPLEX,
                            PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1, 0, 0, 0, security);
  if (IsValid(_hPipe)) return true;
  const DWORD error = GetLastError();
  Log::Error([&] {
    return LogIntro("PipeServer::CreateServerPipe")
           << "CreateNamedPipe failed. GetLastError: 0x" << FormatHex(error);
  });
  return false;
}

std::int32_t PipeServer::WaitForMultipeObjectsOrPipeTermination(DWORD nCount,
                                                                const HANDLE* pHandles,
                                                                DWORD waitTimeout,
                                                                DWORD maxShutdownTime) {
  static constexpr char kFunction[] = "PipeServer::WaitForMultipeObjectsOrPipeTermination";
  Trace(kFunction, "Enter");
  std::int32_t result = kWaitFailed;
  if (_hMessageThread != INVALID_HANDLE_VALUE) {
    std::vector<HANDLE> handles = {_hShutdownEvent, _hMessageThread};
    handles.insert(handles.end(), pHandles, pHandles + nCount);
    const DWORD waitResult = WaitForMultipleObjects(static_cast<DWORD>(handles.size()),
                                                    handles.data(), FALSE, waitTimeout);
    result = MapWaitResult(waitResult, maxShutdownTime);
  }
  Trace(kFunction, "Exit");
  return result;
}

std::int32_t PipeServer::MapWaitResult(DWORD waitResult, DWORD maxShutdownTime) {
  static constexpr char kFunction[] = "PipeServer::WaitForMultipeObjectsOrPipeTermination";
  constexpr DWORD kOwnHandles = 2;
  if (waitResult == WAIT_OBJECT_0) {
    Trace(kFunction, "Shutdown was signaled");
    EndMessageThread(maxShutdownTime, true);
    return kShutdownSignaled;
  }
  if (waitResult == WAIT_OBJECT_0 + 1) {
    Trace(kFunction, "Pipe message handling thread exited");
    return kMessageThreadEnded;
  }
  if (waitResult < WAIT_OBJECT_0 + MAXIMUM_WAIT_OBJECTS) {
    Trace(kFunction, "User event signaled");
    return kUserEvent + static_cast<std::int32_t>(waitResult - WAIT_OBJECT_0 - kOwnHandles);
  }
  if (waitResult >= WAIT_ABANDONED_0 + kOwnHandles &&
      waitResult < WAIT_ABANDONED_0 + MAXIMUM_WAIT_OBJECTS) {
    Trace(kFunction, "User handle abandoned");
    return kUserAbandoned + static_cast<std::int32_t>(waitResult - WAIT_ABANDONED_0 - kOwnHandles);
  }
  if (waitResult == WAIT_TIMEOUT) {
    Trace(kFunction, "Wait Timed Out");
    return kWaitTimedOut;
  }
  return kWaitFailed;
}

void PipeServer::Run(DWORD connectionTimeout, DWORD maxShutdownTime) {
  Trace("PipeServer::Run", "Enter");
  bool threadEnded = false;
  if (StartProcessMessageThread(connectionTimeout) && _hMessageThread != INVALID_HANDLE_VALUE) {
    const HANDLE handles[] = {_hShutdownEvent, _hMessageThread};
    threadEnded = WaitForMultipleObjects(2, handles, FALSE, INFINITE) == WAIT_OBJECT_0 + 1;
  }
  if (!threadEnded) EndMessageThread(maxShutdownTime, false);
  Trace("PipeServer::Run", "Exit");
}

void PipeServer::EndMessageThread(DWORD maxShutdownTime, bool logTermination) {
  if (_hMessageThread == INVALID_HANDLE_VALUE) return;
  if (maxShutdownTime != 0) WaitForSingleObject(_hMessageThread, maxShutdownTime);
  if (!IsActive(_hMessageThread)) return;
  if (logTermination) {
    Trace("PipeServer::WaitForMultipeObjectsOrPipeTermination", "Calling TerminateThread");
  }
  TerminateMessageThread();
}

void PipeServer::TerminateMessageThread() {
  TerminateBetweenLogLines(_hMessageThread, kTerminatedThreadExitCode);
  EndConnectionThread(kCancelledConnectionEndMs);
  _blockingCalls = 0;  // The thread cannot take back what it had announced.
}

bool PipeServer::IsActive(HANDLE thread) {
  DWORD exitCode = 0;
  return GetExitCodeThread(thread, &exitCode) && exitCode == STILL_ACTIVE;
}

void PipeServer::Shutdown() {
  Trace("PipeServer::Shutdown", "Enter");
  _shutdown.exchange(1);
  if (IsValid(_hShutdownEvent)) SetEvent(_hShutdownEvent);
  CancelPipeIo();
  EndBlockingCalls();
}

void PipeServer::EndBlockingCalls() const {
  for (int attempt = 0; _blockingCalls > 0 && attempt < kMaxCancelAttempts; ++attempt) {
    Sleep(1);
    CancelPipeIo();
  }
}

bool PipeServer::CancelPipeIo() const {
  if (!IsValid(_hPipe)) return true;
  const ScopedLibrary kernel(TEXT("Kernel32.dll"));
  const auto cancelIoEx = kernel.Function<BOOL(WINAPI*)(HANDLE, LPOVERLAPPED)>("CancelIoEx");
  return cancelIoEx != nullptr && cancelIoEx(_hPipe, nullptr) != FALSE;
}

bool PipeServer::IsShutdown() { return _shutdown.fetch_add(0) != 0; }

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
