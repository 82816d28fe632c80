/// The pipe server that encodes: its client sends job documents, each is run by an executor while
/// the process-wide encode lock is held, and answered with success or failure.
#pragma once

#include "pipe/pipe_server.h"
#include "support/olist.h"
#include "support/osynchronizer.h"

class TagwrightServer : public PipeServer, public ONode {
 public:
  /// `pipeName` is the short name; creates no pipe and no thread.
  explicit TagwrightServer(const OString& pipeName);

  /// The owner has ended the threads. Leaves the list the server is in.
  ~TagwrightServer() override;

 protected:
  /// eEncode, eEncodeAndShutdown and eShutdown; any other type gets eStatusUnknownMessage. An
  /// exception that leaves the executor passes: the request gets no reply and the thread ends.
  bool ParseIncomingMessage(const Tagwright::MessageHeader& msgHeader, const BYTE* pPayloadBuffer,
                            Tagwright::MessageHeader& replyMsgHeader) override;

 private:
  static bool Encode(const BYTE* jobData, DWORD jobSizeBytes);

  /// One job at a time drives the printer, among all processes of this logon.
  static OMutex _Zxp7EncodeMutex;
};
