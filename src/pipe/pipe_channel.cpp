#include "pipe/pipe_channel.h"

#include "pipe/exact_transfer.h"
#include "support/thread_start.h"

namespace {

/// How long a reader waits after a failed read before it tries again.
constexpr DWORD kFailedReadPauseMs = 500;

/// How often, a millisecond apart, Shutdown cancels a call that was announced but not yet blocked.
constexpr int kMaxCancelAttempts = 100;

class Announcement {
 public:
  // The look at the shutdown flag comes after it in every thread's eyes.
  explicit Announcement(std::atomic<bool>& isAnnounced) : _isAnnounced(isAnnounced) {
    _isAnnounced.exchange(true);
  }
  ~Announcement() { _isAnnounced.store(false, std::memory_order_release); }
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;

 private:
  std::atomic<bool>& _isAnnounced;
};

}  // namespace

PipeChannel::PipeChannel() : _shutdownEvent(CreateManualResetEvent()) {}

bool PipeChannel::Create(const OString& path, SECURITY_ATTRIBUTES* security) {
  _pipe = ScopedHandle(CreateNamedPipeW(path.wstring(), PIPE_ACCESS_DUPLEX,
                                        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1, 0, 0, 0,
                                        security));
  return _pipe.IsValid();
}

template <class Call>
DWORD PipeChannel::RunBlocking(Call&& call) {
  const Announcement announcement(_isCallAnnounced);
  if (IsShutdown()) return ERROR_OPERATION_ABORTED;
  return call() ? ERROR_SUCCESS : GetLastError();
}

DWORD PipeChannel::Connect() {
  return RunBlocking([&] { return ConnectNamedPipe(_pipe.Get(), nullptr); });
}

void PipeChannel::Disconnect() {
  if (_pipe.IsValid()) DisconnectNamedPipe(_pipe.Get());
}

bool PipeChannel::ReadExactly(BYTE* bytes, DWORD sizeBytes, DWORD* totalBytes) {
  const auto readPiece = [this](BYTE* piece, DWORD length, DWORD* done) {
    return ReadPiece(piece, length, done);
  };
  return Tagwright::TransferExactly(bytes, sizeBytes, readPiece, totalBytes) == ERROR_SUCCESS;
}

DWORD PipeChannel::ReadPiece(BYTE* piece, DWORD sizeBytes, DWORD* doneBytes) {
  while (!IsShutdown()) {
    const DWORD error =
        RunBlocking([&] { return ReadFile(_pipe.Get(), piece, sizeBytes, doneBytes, nullptr); });
    // A client may write nothing: that wakes the reader, and is neither an end nor an error.
    if (error == ERROR_SUCCESS && *doneBytes > 0) return ERROR_SUCCESS;
    if (error != ERROR_SUCCESS && !IsShutdown()) PauseAfterFailedRead();
  }
  return ERROR_OPERATION_ABORTED;
}

void PipeChannel::PauseAfterFailedRead() const {
  // A wait on the shutdown event instead of a plain sleep, so that shutdown need not wait for it.
  if (WaitForSingleObject(_shutdownEvent.Get(), kFailedReadPauseMs) == WAIT_FAILED) {
    Sleep(kFailedReadPauseMs);
  }
}

bool PipeChannel::Write(const void* bytes, DWORD sizeBytes) {
  DWORD written = 0;
  const DWORD error =
      RunBlocking([&] { return WriteFile(_pipe.Get(), bytes, sizeBytes, &written, nullptr); });
  return error == ERROR_SUCCESS && written == sizeBytes;
}

void PipeChannel::Flush() {
  RunBlocking([&] { return FlushFileBuffers(_pipe.Get()); });
}

void PipeChannel::Shutdown() {
  _shutdown.exchange(1);
  if (_shutdownEvent.IsValid()) SetEvent(_shutdownEvent.Get());
  CancelAll();
  for (int attempt = 0; _isCallAnnounced && attempt < kMaxCancelAttempts; ++attempt) {
    Sleep(1);
    CancelAll();
  }
}

bool PipeChannel::CancelAll() const {
  if (!_pipe.IsValid()) return true;
  const ScopedLibrary kernel(TEXT("Kernel32.dll"));
  const auto cancelIoEx = kernel.Function<BOOL(WINAPI*)(HANDLE, LPOVERLAPPED)>("CancelIoEx");
  return cancelIoEx != nullptr && cancelIoEx(_pipe.Get(), nullptr) != FALSE;
}
