/// The client's end of a pipe: what CreateFileW opens.
#pragma once

#include "platform/posix/kernel/unique_fd.h"
#include "platform/posix/pipes/pipe_end.h"

namespace platform {

class ClientPipe : public PipeEnd {
 public:
  ClientPipe(UniqueFd socket, bool canRead, bool canWrite);
  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  DWORD Write(const void* buffer, DWORD size, DWORD& done) override;
  void OnLastHandleClosed() override;

  /// The process that listened for this connection.
  DWORD ServerProcessId() const { return _stream->PeerProcessId(); }

 protected:
  std::shared_ptr<PipeStream> Stream(DWORD& error) override;

 private:
  const std::shared_ptr<PipeStream> _stream;
  const bool _canRead;
  const bool _canWrite;
};

}  // namespace platform
