/// The base of every pipe the process serves: one instance of one named pipe for one client in its
/// whole life, a short-lived thread that waits for that client, and a message thread that reads and
/// answers its requests one after another.
///
/// Calling order: construct, CreateServerPipe, StartProcessMessageThread, then wait for the end
/// with WaitForMultipeObjectsOrPipeTermination (or use Run for both), delete. The owner ends the
/// threads (Shutdown and a wait) before it deletes the server.
///
/// Pipe I/O is synchronous. Shutdown, from any thread, ends a blocked call by cancelling the pipe's
/// I/O; a thread that still does not end within its owner's time is terminated with exit code 260.
#pragma once

#include <atomic>
#include <cstdint>

#include "pipe/message_header.h"
#include "pipe/pipe_channel.h"
#include "platform/windows_api.h"
#include "support/ostring.h"
#include "support/osynchronizer.h"

class PipeServer {
 public:
  /// Takes no arguments, gives no result, and may run on several pipe threads at once. It runs
  /// under the server's callback lock: it must not call that server's callback operations.
  using OnActivityCallback = void (*)();

  /// Exit code of a thread that had to be terminated.
  static constexpr DWORD kTerminatedThreadExitCode = 260;

  /// Results of WaitForMultipeObjectsOrPipeTermination.
  enum WaitResult : std::int32_t {
    kWaitFailed = -1,         ///< No message thread, or the wait failed.
    kMessageThreadEnded = 0,  ///< The message thread ended by itself.
    kShutdownSignaled =
        1,                 ///< Shutdown was called; the message thread has ended or was terminated.
    kWaitTimedOut = 2,     ///< `waitTimeout` passed.
    kUserEvent = 0x10000,  ///< plus i: the caller's handle i is signalled.
    kUserAbandoned = 0x20000,  ///< plus i: the caller's mutex i is abandoned.
  };

  /// `pipeName` is the short name, without "\\.\pipe\". Creates the shutdown event, no pipe.
  explicit PipeServer(const OString& pipeName);

  /// Disconnects and closes the pipe and closes the handles; neither stops nor waits for threads.
  virtual ~PipeServer();
  PipeServer(const PipeServer&) = delete;
  PipeServer& operator=(const PipeServer&) = delete;

  /// Creates the pipe instance, open to everyone. False (logged with the system error) when it
  /// cannot be created, for instance because another process serves the name.
  virtual bool CreateServerPipe();

  /// Starts the message thread, which waits at most `connectionTimeout` ms for the client. False
  /// when the server has been shut down or no thread could be started (logged).
  virtual bool StartProcessMessageThread(DWORD connectionTimeout);

  /// Waits, at most `waitTimeout` ms, for shutdown, the end of the message thread, or one of the
  /// caller's `nCount` handles (62 at most); the first in this order wins. On shutdown it gives the
  /// message thread `maxShutdownTime` ms to end and then terminates it. Returns a WaitResult.
  virtual std::int32_t WaitForMultipeObjectsOrPipeTermination(DWORD nCount, const HANDLE* pHandles,
                                                              DWORD waitTimeout,
                                                              DWORD maxShutdownTime);

  /// Starts the message thread and blocks until it ends or Shutdown is called; times as above.
  virtual void Run(DWORD connectionTimeout, DWORD maxShutdownTime);

  /// Asks every thread of this server to stop and returns at once. Any thread, any number of times.
  virtual void Shutdown();
  virtual bool IsShutdown();
  /// Cancels the pipe's pending calls, whichever thread made them. True as well without a pipe.
  bool CancelPipeIo() const;

  /// Copies the callback of another server. Locks the source, then this server.
  virtual void SetOnActivityCallback(PipeServer* pSrc);
  virtual void SetOnActivityCallback(OnActivityCallback onActivityCallbackPtr);
  virtual void ClearOnActivityCallback();

  /// The message thread's handle, owned by the server; INVALID_HANDLE_VALUE before it was started.
  virtual HANDLE GetThreadHandle() const;

  /// Terminates the message thread, which was started, and ends a connection thread that it leaves
  /// behind: none of this server's threads runs afterwards. After Shutdown only.
  void TerminateMessageThread();

 protected:
  /// Handles one request on the message thread and fills the reply. The payload (null when the
  /// header announces none) is only valid during the call. Returns false to end this server after
  /// the reply has been delivered. May block as long as the request takes.
  virtual bool ParseIncomingMessage(const Tagwright::MessageHeader& msgHeader,
                                    const BYTE* pPayloadBuffer,
                                    Tagwright::MessageHeader& replyMsgHeader) = 0;

  /// Whether a thread is still running.
  static bool IsActive(HANDLE thread);

  /// The message thread is not terminated while it is held: whatever the thread must not leave half
  /// done, or locked, it does under this lock. Taken before any other lock.
  OCriticalSection _terminationLock;

 private:
  /// How long a connection thread may take to end after its pipe's I/O was cancelled.
  static constexpr DWORD kCancelledConnectionEndMs = 1000;

  // Connecting (pipe_connection.cpp)
  bool WaitClientConnection(DWORD timeout);
  bool StartConnectionThread();
  void ReportConnectionWait(DWORD waitResult) const;
  void EndConnectionThread(DWORD endTimeMs);
  static unsigned __stdcall ConnectThreadProc(void* parameter);
  void ConnectClient();

  // Messages (pipe_message_loop.cpp)
  static unsigned __stdcall ProcessMessagesThreadProc(void* parameter);
  void ProcessMessagesThread();
  void ServeClient();
  DWORD ProcessMessages();
  void ServeRequest();
  bool ReadPayload(DWORD payloadLength, BYTE* buffer);
  void RefusePayload(DWORD payloadLength);
  void Reply(const Tagwright::MessageHeader& reply);
  void FinishServing();
  bool ReadBytes(BYTE* pDestinationBuffer, DWORD nBytesToRead, DWORD* pTotalBytesRead);
  void CallOnActivityCallback();

  // Ending
  std::int32_t MapWaitResult(DWORD waitResult, DWORD maxShutdownTime);
  void EndMessageThread(DWORD maxShutdownTime, bool logTermination);

  // Log lines
  OString LogIntro(const char* functionName) const;
  static OString StaticLogIntro(const char* functionName, const OString& pipeName);
  static OString ConvertToPartialPipeName(OString pipeName);
  void Trace(const char* functionName, const char* text) const;

  std::atomic<HANDLE> _hMessageThread;  // Written by the starter, read by every thread.
  OString _pipeName;
  std::atomic<bool> _connected;  // Written by the connection thread before it ends.
  PipeChannel _channel;
  DWORD _connectionTimeout;
  OCriticalSection _callbackLock;
  OnActivityCallback _onActivityCallback;  // Guarded by _callbackLock.
  /// Written by the message thread; read by who has terminated that thread.
  std::atomic<HANDLE> _hConnectThread;
};
