#include "service/tagwright_server.h"

#include <memory>
#include <new>

#include "encode/zxp7_epc_gen2_encode.h"
#include "service/reply.h"
#include "support/log.h"

namespace {

constexpr Tracer kTraceParse{"TagwrightServer::ParseIncomingMessage"};

/// Null when it cannot be created: the job then counts as failed.
std::unique_ptr<ZXP7EpcGen2Encode> CreateExecutor(const BYTE* jobData, DWORD jobSizeBytes) {
  return std::unique_ptr<ZXP7EpcGen2Encode>(new (std::nothrow)
                                                ZXP7EpcGen2Encode(jobData, jobSizeBytes));
}

}  // namespace

OMutex TagwrightServer::_Zxp7EncodeMutex("TagwrightServerEncodingMutex", INFINITE);

TagwrightServer::TagwrightServer(const OString& pipeName) : PipeServer(pipeName) {
  Log::Information("TagwrightServer::TagwrightServer Starting");
}

TagwrightServer::~TagwrightServer() = default;

bool TagwrightServer::ParseIncomingMessage(const Tagwright::MessageHeader& msgHeader,
                                           const BYTE* pPayloadBuffer,
                                           Tagwright::MessageHeader& replyMsgHeader) {
  kTraceParse("");
  BeginReply(msgHeader, replyMsgHeader);
  switch (msgHeader.messageType) {
    case Tagwright::eShutdown:
      Log::Information("TagwrightServer::ParseIncomingMessage eShutdown");
      return false;
    case Tagwright::eEncode:
      kTraceParse("eEncode");
      break;
    case Tagwright::eEncodeAndShutdown:
      kTraceParse("eEncodeAndShutdown");
      break;
    default:
      replyMsgHeader.status = Tagwright::eStatusUnknownMessage;
      return true;
  }
  if (msgHeader.payloadLength == 0 || pPayloadBuffer == nullptr) return true;
  if (!Encode(pPayloadBuffer, msgHeader.payloadLength)) {
    replyMsgHeader.status = Tagwright::eStatusEncodeFailed;
  }
  return msgHeader.messageType != Tagwright::eEncodeAndShutdown;
}

bool TagwrightServer::Encode(const BYTE* jobData, DWORD jobSizeBytes) {
  const auto executor = CreateExecutor(jobData, jobSizeBytes);
  if (!executor) return false;
  kTraceParse("Serializing all Encoding - Aquiring _Zxp7EncodeMutex");
  OAutoLock lock(_Zxp7EncodeMutex);
  kTraceParse("Serializing all Encoding - Aquired _Zxp7EncodeMutex");
  const bool succeeded = executor->ParseAndExecuteXML();
  kTraceParse("Serializing all Encoding - Releasing _Zxp7EncodeMutex");
  return succeeded;
}
