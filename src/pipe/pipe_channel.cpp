#include "pipe/pipe_channel.h"

#include "pipe/exact_transfer.h"
#include "support/scoped_handle.h"

namespace {

/// How long a reader waits after a failed read before it tries again.
constexpr DWORD kFailedReadPauseMs = 500;

/// How often, a millisecond apart, Shutdown cancels a call that was announced but not yet blocked.
constexpr int kMaxCancelAttempts = 100;

bool IsValid(HANDLE handle) { return handle != INVALID_HANDLE_VALUE && handle != nullptr; }

class Announcement {
 public:
  explicit Announcement(std::atomic<int>& calls) : _calls(calls) { ++_calls; }
  ~Announcement() { --_calls; }
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;

 private:
  std::atomic<int>& _calls;
};

}  // namespace

PipeChannel::PipeChannel() : _shutdownEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

PipeChannel::~PipeChannel() {
  if (IsValid(_pipe)) CloseHandle(_pipe);
  if (IsValid(_shutdownEvent)) CloseHandle(_shutdownEvent);
}

bool PipeChannel::Create(const OString& path, SECURITY_ATTRIBUTES* security) {
  _pipe = CreateNamedPipeW(path.wstring(), PIPE_ACCESS_DUPLEX,
                           PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1, 0, 0, 0, security);
  return IsValid(_pipe);
}

template <class Call>
DWORD PipeChannel::RunBlocking(Call&& call) {
  const Announcement announcement(_announcedCalls);
  if (IsShutdown()) return ERROR_OPERATION_ABORTED;
  return call() ? ERROR_SUCCESS : GetLastError();
}

DWORD PipeChannel::Connect() {
  return RunBlocking([&] { return ConnectNamedPipe(_pipe, nullptr); });
}

void PipeChannel::Disconnect() {
  if (IsValid(_pipe)) DisconnectNamedPipe(_pipe);
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
        RunBlocking([&] { return ReadFile(_pipe, piece, sizeBytes, doneBytes, nullptr); });
    // A client may write nothing: that wakes the reader, and is neither an end nor an error.
    if (error == ERROR_SUCCESS && *doneBytes > 0) return ERROR_SUCCESS;
    if (error != ERROR_SUCCESS && !IsShutdown()) PauseAfterFailedRead();
  }
  return ERROR_OPERATION_ABORTED;
}

void PipeChannel::PauseAfterFailedRead() const {
  // A wait on the shutdown event instead of a plain sleep, so that shutdown need not wait for it.
  if (WaitForSingleObject(_shutdownEvent, kFailedReadPauseMs) == WAIT_FAILED) {
    Sleep(kFailedReadPauseMs);
  }
}

bool PipeChannel::Write(const void* bytes, DWORD sizeBytes) {
  DWORD written = 0;
  const DWORD error =
      RunBlocking([&] { return WriteFile(_pipe, bytes, sizeBytes, &written, nullptr); });
  return error == ERROR_SUCCESS && written == sizeBytes;
}

void PipeChannel::Flush() {
  RunBlocking([&] { return FlushFileBuffers(_pipe); });
}

void PipeChannel::Shutdown() {
  _shutdown.exchange(1);
  if (IsValid(_shutdownEvent)) SetEvent(_shutdownEvent);
  CancelAll();
  for (int attempt = 0; _announcedCalls > 0 && attempt < kMaxCancelAttempts; ++attempt) {
    Sleep(1);
    CancelAll();
  }
}

bool PipeChannel::CancelAll() const {
  if (!IsValid(_pipe)) return true;
  const ScopedLibrary kernel(TEXT("Kernel32.dll"));
  const auto cancelIoEx = kernel.Function<BOOL(WINAPI*)(HANDLE, LPOVERLAPPED)>("CancelIoEx");
  return cancelIoEx != nullptr && cancelIoEx(_pipe, nullptr) != FALSE;
}
