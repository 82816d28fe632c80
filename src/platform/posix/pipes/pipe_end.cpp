#include "platform/posix/pipes/pipe_end.h"

#include "platform/posix/api/errors.h"

namespace platform {

template <class Operation>
DWORD PipeEnd::Run(Operation operation) {
  PendingIo pending(_transfers);
  DWORD error = 0;
  const std::shared_ptr<PipeStream> stream = Stream(error);
  if (!stream) return error;
  const DWORD result = operation(*stream, pending);
  if (result == 0 || result == ERROR_OPERATION_ABORTED) return result;
  return Stream(error) == stream ? result : error;
}

DWORD PipeEnd::Read(void* buffer, DWORD size, DWORD& done) {
  return Run([&](PipeStream& stream, PendingIo& pending) {
    const DWORD error = stream.Read(pending, buffer, size, done);
    // What was received beyond this call's share is for a reader who waits for the socket.
    if (stream.HasReadAhead()) pending.WakeOthers();
    return error;
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

int PipeEnd::CancelPending() { return _transfers.EndAll(ERROR_OPERATION_ABORTED); }

}  // namespace platform
