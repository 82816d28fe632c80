#include "platform/posix/pipes/pipe_end.h"

#include "platform/posix/api/errors.h"

namespace platform {
namespace {

class Use {
 public:
  explicit Use(std::atomic<int>& users) : _users(users) { ++_users; }
  ~Use() { --_users; }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

 private:
  std::atomic<int>& _users;
};

}  // namespace

template <class Operation>
DWORD PipeEnd::OnStream(Operation operation) {
  {
    const Use use(_users);
    if (PipeStream* const stream = _open) return operation(*stream);
  }
  DWORD error = 0;
  const std::shared_ptr<PipeStream> stream = Stream(error);
  return stream ? operation(*stream) : error;
}

DWORD PipeEnd::Read(void* buffer, DWORD size, DWORD& done) {
  return OnStream([&](PipeStream& stream) { return stream.Read(_transfers, buffer, size, done); });
}

DWORD PipeEnd::Write(const void* buffer, DWORD size, DWORD& done) {
  return OnStream([&](PipeStream& stream) { return stream.Write(_transfers, buffer, size, done); });
}

DWORD PipeEnd::Flush() {
  return OnStream([&](PipeStream& stream) { return stream.Flush(_transfers); });
}

int PipeEnd::CancelPending() { return _transfers.EndAll(ERROR_OPERATION_ABORTED); }

}  // namespace platform
