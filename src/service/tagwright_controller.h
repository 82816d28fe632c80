/// The pipe server of the control channel: its client asks it for encoder pipes, keeps the process
/// alive and finally shuts everything down. It creates, starts, keeps, stops and destroys the
/// encoder servers.
#pragma once

#include <memory>
#include <vector>

#include "pipe/pipe_server.h"
#include "service/tagwright_server.h"
#include "support/olist.h"

class TagwrightController : public PipeServer {
 public:
  /// `pipeName` is the short name of the control pipe; the server list starts empty.
  explicit TagwrightController(const OString& pipeName);

  /// Destroys the encoder servers that are left; those that still serve are stopped first, as for
  /// eShutdown. The owner has ended the control thread.
  ~TagwrightController() override;

  /// Stops and destroys every encoder server and stops the control pipe. Any thread, one at a time.
  /// Waits at most 15 s for the encoder threads and, counted from its start, 15 s for the control
  /// thread; what still runs is terminated.
  void ShutdownAllPipes();

 protected:
  /// Of the control pipe alone: the encoder servers go on. The owner calls ShutdownAllPipes.
  void Shutdown() override;
  bool ParseIncomingMessage(const Tagwright::MessageHeader& msgHeader, const BYTE* pPayloadBuffer,
                            Tagwright::MessageHeader& replyMsgHeader) override;

 private:
  using EncoderList = OList_T<TagwrightServer, OList>;

  void StopEncoders();
  Tagwright::ReplyStatus AddEncoder(const BYTE* pPayloadBuffer, DWORD payloadLength);
  Tagwright::ReplyStatus AddEncoder(const OString& pipeName);
  bool KeepAndStart(TagwrightServer* server);

  void ShutdownEncoderThreads();
  bool WaitForEncoderThreadShutdown(DWORD timeout);
  bool WaitForControlThreadShutdown(DWORD timeout);
  void TerminateEncoderThreads();
  void RefuseFurtherEncoders();
  void DestroyEncoders();
  void TerminateControlThread();

  /// Calls `visit` with every encoder server in list order, under the list's lock.
  template <class Visit>
  void ForEachEncoder(Visit&& visit);
  std::vector<HANDLE> EncoderThreads();

  /// The termination lock guards both, against an eAddEncoder that is still being handled on the
  /// control thread while ShutdownAllPipes runs on another. Not held while encoders may finish.
  std::unique_ptr<EncoderList> _pEncoderServers;
  bool _acceptsEncoders;
};
