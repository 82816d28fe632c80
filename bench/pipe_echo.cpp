#include <stdexcept>
#include <thread>

#include "bench/echo.h"
#include "client/client.h"
#include "client/exact_io.h"
#include "client/server_process.h"
#include "platform/windows_api.h"
#include "support/scoped_handle.h"

namespace Bench {
namespace {

bool ReadMessage(HANDLE pipe, char* bytes) {
  return Tagwright::TransferExactly(
             bytes, kEchoBytes, [pipe](char* piece, DWORD length, DWORD* done) {
               return ReadFile(pipe, piece, length, done, nullptr) ? ERROR_SUCCESS : GetLastError();
             }) == ERROR_SUCCESS;
}

bool WriteMessage(HANDLE pipe, const char* bytes) {
  DWORD done = 0;
  return WriteFile(pipe, bytes, kEchoBytes, &done, nullptr) && done == kEchoBytes;
}

/// Until the other end closes.
void Echo(HANDLE pipe) {
  char bytes[kEchoBytes];
  ConnectNamedPipe(pipe, nullptr);
  while (ReadMessage(pipe, bytes) && WriteMessage(pipe, bytes)) {
  }
}

}  // namespace

Timings PipeEcho(int repetitions) {
  const Tagwright::WideString path = Tagwright::PipePath(Tagwright::FreshPipeName());
  const ScopedHandle server(
      CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 0, 0, 0, nullptr));
  const std::jthread echo([&server] { Echo(server.Get()); });
  const ScopedHandle client(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
  char bytes[kEchoBytes] = {};
  return Timings::Of(repetitions, [&] {
    if (!WriteMessage(client.Get(), bytes) || !ReadMessage(client.Get(), bytes)) {
      throw std::runtime_error("the pipe echo failed");
    }
  });
}

}  // namespace Bench
