#include "service/tagwright_controller.h"

#include <algorithm>
#include <string>

#include "service/reply.h"
#include "service/time_limits.h"
#include "support/log.h"

TagwrightController::TagwrightController(const OString& pipeName)
    : PipeServer(pipeName), _acceptsEncoders(true) {
  Log::Information("TagwrightController::TagwrightController Starting");
  _pEncoderServers = std::make_unique<EncoderList>();
}

bool TagwrightController::ParseIncomingMessage(const Tagwright::MessageHeader& msgHeader,
                                               const BYTE* pPayloadBuffer,
                                               Tagwright::MessageHeader& replyMsgHeader) {
  Log::Information("TagwrightController::ParseIncomingMessage");
  BeginReply(msgHeader, replyMsgHeader);
  switch (msgHeader.messageType) {
    case Tagwright::eShutdown:
      Log::Information("TagwrightController::ParseIncomingMessage eShutdown");
      StopEncoders();
      return false;
    case Tagwright::eAddEncoder:
      Log::Information("TagwrightController::ParseIncomingMessage eAddEncoder");
      replyMsgHeader.status = AddEncoder(pPayloadBuffer, msgHeader.payloadLength);
      return true;
    case Tagwright::eKeepAlive:
      Log::Information("TagwrightController::ParseIncomingMessage: eKeepAlive received");
      return true;
    default:
      replyMsgHeader.status = Tagwright::eStatusUnknownMessage;
      return true;
  }
}

Tagwright::ReplyStatus TagwrightController::AddEncoder(const BYTE* pPayloadBuffer,
                                                       DWORD payloadLength) {
  if (payloadLength == 0 || pPayloadBuffer == nullptr) return Tagwright::eStatusSuccess;
  // A name without its NUL is the whole payload; nothing beyond the payload is read.
  const BYTE* end = std::find(pPayloadBuffer, pPayloadBuffer + payloadLength, BYTE{0});
  const std::string name(pPayloadBuffer, end);
  if (name.empty()) return Tagwright::eStatusNoPipeName;
  return AddEncoder(OString(name.c_str()));
}

Tagwright::ReplyStatus TagwrightController::AddEncoder(const OString& pipeName) {
  auto server = std::make_unique<TagwrightServer>(pipeName);
  server->SetOnActivityCallback(this);
  if (server->CreateServerPipe() && KeepAndStart(server.get())) {
    server.release();  // The list owns it.
    return Tagwright::eStatusSuccess;
  }
  Log::Error("TagwrightController::ParseIncomingMessage eAddEncoder unable to create pipe",
             LogLevel::kDetailInfo);
  return Tagwright::eStatusPipeCreateFailed;
}

bool TagwrightController::KeepAndStart(TagwrightServer* server) {
  OAutoLock lock(_terminationLock);
  if (!_acceptsEncoders) return false;
  _pEncoderServers->AddTail(server);
  server->StartProcessMessageThread(kConnectionTimeoutMs);
  return true;
}
