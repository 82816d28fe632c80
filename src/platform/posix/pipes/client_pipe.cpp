#include "platform/posix/pipes/client_pipe.h"

#include "platform/posix/api/errors.h"

namespace platform {

ClientPipe::ClientPipe(UniqueFd socket, bool canRead, bool canWrite)
    : _stream(
          std::make_shared<PipeStream>(std::move(socket), PipeStream::Receives::kOnlyWhatIsRead)),
      _canRead(canRead),
      _canWrite(canWrite) {
  SetOpen(_stream.get());
}

DWORD ClientPipe::Read(void* buffer, DWORD size, DWORD& done) {
  return _canRead ? PipeEnd::Read(buffer, size, done) : ERROR_ACCESS_DENIED;
}

DWORD ClientPipe::Write(const void* buffer, DWORD size, DWORD& done) {
  return _canWrite ? PipeEnd::Write(buffer, size, done) : ERROR_ACCESS_DENIED;
}

void ClientPipe::OnLastHandleClosed() {
  CancelPending();
  _stream->Shut(ERROR_OPERATION_ABORTED);
}

std::shared_ptr<PipeStream> ClientPipe::Stream(DWORD&) { return _stream; }

}  // namespace platform
