#include "platform/posix/pipes/pipe_end.h"

#include "platform/posix/api/errors.h"

namespace platform {

DWORD PipeEnd::Read(void* buffer, DWORD size, DWORD& done) {
  DWORD error = 0;
  const std::shared_ptr<PipeStream> stream = Stream(error);
  return stream ? stream->Read(_transfers, buffer, size, done) : error;
}

DWORD PipeEnd::Write(const void* buffer, DWORD size, DWORD& done) {
  DWORD error = 0;
  const std::shared_ptr<PipeStream> stream = Stream(error);
  return stream ? stream->Write(_transfers, buffer, size, done) : error;
}

DWORD PipeEnd::Flush() {
  DWORD error = 0;
  const std::shared_ptr<PipeStream> stream = Stream(error);
  return stream ? stream->Flush(_transfers) : error;
}

int PipeEnd::CancelPending() { return _transfers.EndAll(ERROR_OPERATION_ABORTED); }

}  // namespace platform
