#include "client/client.h"

#include "pipe/exact_transfer.h"

namespace Tagwright {
namespace {

ClientErrorKind KindOfConnectError(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
      return ClientErrorKind::kPipeMissing;
    case ERROR_PIPE_BUSY:
      return ClientErrorKind::kPipeBusy;
    default:
      return ClientErrorKind::kSystem;
  }
}

ClientErrorKind KindOfTransferError(DWORD error) {
  switch (error) {
    case ERROR_BROKEN_PIPE:
    case ERROR_HANDLE_EOF:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return ClientErrorKind::kServerGone;
    // Nobody but the watchdog cancels.
    case ERROR_OPERATION_ABORTED:
      return ClientErrorKind::kTimeout;
    default:
      return ClientErrorKind::kSystem;
  }
}

bool IsReplyTo(std::uint32_t messageType, const MessageHeader& reply) {
  return reply.ValidHeader() && reply.messageType == messageType && reply.payloadLength == 0;
}

DWORD WriteAll(HANDLE pipe, const void* bytes, std::size_t size) {
  return TransferExactly(static_cast<const std::uint8_t*>(bytes), static_cast<DWORD>(size),
                         WritingTo(pipe));
}

}  // namespace

WideString PipePath(const WideString& name) {
  if (name.starts_with(TEXT("\\\\"))) return name;
  return TEXT("\\\\.\\pipe\\") + name;
}

std::optional<ClientError> Client::Connect(const WideString& pipeName) {
  Close();
  _pipe = ScopedHandle(CreateFileW(PipePath(pipeName).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                   nullptr, OPEN_EXISTING, 0, nullptr));
  if (!_pipe.IsValid()) {
    const DWORD error = GetLastError();
    return ClientError{KindOfConnectError(error), error};
  }
  if (_timeoutMs != kNoTimeout) _watchdog = std::make_unique<IoWatchdog>(_pipe.Get());
  return std::nullopt;
}

SendResult Client::Send(std::uint32_t messageType, std::span<const std::uint8_t> payload) {
  if (!IsConnected()) return Fail(ClientErrorKind::kNotConnected, ERROR_SUCCESS);
  if (payload.size() > kMaxPayloadBytes) {
    return {{}, ClientError{ClientErrorKind::kPayloadTooLong}};
  }
  SendResult result;
  const DWORD error = WithinLimit(messageType, payload, result.reply);
  if (error != ERROR_SUCCESS) return Fail(KindOfTransferError(error), error);
  if (!IsReplyTo(messageType, result.reply)) return Fail(ClientErrorKind::kBadReply, error);
  return result;
}

DWORD Client::ServerProcessId() const {
  DWORD id = 0;
  return GetNamedPipeServerProcessId(_pipe.Get(), &id) ? id : 0;
}

void Client::Close() {
  _watchdog.reset();
  _pipe.Close();
}

DWORD Client::WithinLimit(std::uint32_t messageType, std::span<const std::uint8_t> payload,
                          MessageHeader& reply) {
  if (_watchdog) _watchdog->Start(_timeoutMs);
  DWORD error = WriteRequest(messageType, payload);
  if (error == ERROR_SUCCESS) error = ReadReply(reply);
  if (_watchdog) _watchdog->Stop();
  return error;
}

DWORD Client::WriteRequest(std::uint32_t messageType, std::span<const std::uint8_t> payload) {
  MessageHeader request;
  request.messageType = messageType;
  request.payloadLength = static_cast<std::uint32_t>(payload.size());
  const DWORD error = WriteAll(_pipe.Get(), &request, sizeof(request));
  return error != ERROR_SUCCESS ? error : WriteAll(_pipe.Get(), payload.data(), payload.size());
}

DWORD Client::ReadReply(MessageHeader& reply) {
  return TransferExactly(reinterpret_cast<std::uint8_t*>(&reply), sizeof(reply),
                         ReadingFrom(_pipe.Get()));
}

SendResult Client::Fail(ClientErrorKind kind, DWORD systemError) {
  Close();
  return {{}, ClientError{kind, systemError}};
}

}  // namespace Tagwright
