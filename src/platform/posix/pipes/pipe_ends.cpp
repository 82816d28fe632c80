#include "platform/posix/pipes/pipe_ends.h"

#include "platform/posix/api/errors.h"

namespace platform {

template <class Operation>
DWORD PipeEnd::Run(Operation operation) {
  PendingIo pending(_pending);
  DWORD error = 0;
  const std::shared_ptr<PipeStream> stream = Stream(error);
  if (!stream) return error;
  const DWORD result = operation(*stream, pending);
  if (result == 0 || result == ERROR_OPERATION_ABORTED) return result;
  return Stream(error) == stream ? result : error;
}

DWORD PipeEnd::Read(void* buffer, DWORD size, DWORD& done) {
  return Run([&](PipeStream& stream, PendingIo& pending) {
    return stream.Read(pending, buffer, size, done);
  });
}

DWORD PipeEnd::Write(const void* buffer, DWORD size, DWORD& done) {
  return Run([&](PipeStream& stream, PendingIo& pending) {
    return stream.Write(pending, buffer, size, done);
  });
}

DWORD PipeEnd::Flush() {
  return Run([](PipeStream& stream, PendingIo& pending) { return stream.Flush(pending); });
}

int PipeEnd::CancelPending() { return _pending.EndAll(ERROR_OPERATION_ABORTED); }

ClientPipe::ClientPipe(UniqueFd socket, bool canRead, bool canWrite)
    : _stream(std::make_shared<PipeStream>(std::move(socket))),
      _canRead(canRead),
      _canWrite(canWrite) {}

DWORD ClientPipe::Read(void* buffer, DWORD size, DWORD& done) {
  return _canRead ? PipeEnd::Read(buffer, size, done) : ERROR_ACCESS_DENIED;
}

DWORD ClientPipe::Write(const void* buffer, DWORD size, DWORD& done) {
  return _canWrite ? PipeEnd::Write(buffer, size, done) : ERROR_ACCESS_DENIED;
}

void ClientPipe::OnLastHandleClosed() {
  CancelPending();
  _stream->Shut();
}

std::shared_ptr<PipeStream> ClientPipe::Stream(DWORD&) { return _stream; }

}  // namespace platform
