/// Marks that a thread of the server is in a blocking pipe call, or about to enter one.
#pragma once

#include "pipe/pipe_server.h"

/// Cancelling finds only calls that are already blocked. A thread therefore announces its call
/// before it looks at the shutdown flag; Shutdown sets the flag first and then cancels until no
/// call is announced, so a call that begins at that very moment is not missed.
class PipeServer::BlockingCall {
 public:
  explicit BlockingCall(const PipeServer& server) : _server(server) { ++_server._blockingCalls; }
  ~BlockingCall() { --_server._blockingCalls; }
  BlockingCall(const BlockingCall&) = delete;
  BlockingCall& operator=(const BlockingCall&) = delete;

 private:
  const PipeServer& _server;
};
