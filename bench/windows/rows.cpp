#include "bench/rows.h"

#include <stdexcept>
#include <thread>

#include "bench/table.h"
#include "client/server_process.h"
#include "pipe/message_header.h"

namespace Bench {
namespace {

constexpr DWORD kTimeoutMs = 60000;
constexpr int kRepetitions = 300;

bool Read(HANDLE pipe, Tagwright::MessageHeader& header) {
  auto* const bytes = reinterpret_cast<char*>(&header);
  DWORD count = 0;
  for (DWORD total = 0; total < sizeof header; total += count) {
    if (!ReadFile(pipe, bytes + total, sizeof header - total, &count, nullptr)) return false;
  }
  return true;
}

bool Write(HANDLE pipe, const Tagwright::MessageHeader& header) {
  DWORD count = 0;
  return WriteFile(pipe, &header, sizeof header, &count, nullptr) && count == sizeof header;
}

/// Until the other end closes.
void Echo(HANDLE pipe) {
  Tagwright::MessageHeader header;
  ConnectNamedPipe(pipe, nullptr);
  while (Read(pipe, header) && Write(pipe, header)) {
  }
}

/// A client of one pipe, without anything of the product's own client.
class PipeClient {
 public:
  explicit PipeClient(const Tagwright::WideString& path)
      : _pipe(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                          nullptr)) {}
  bool IsConnected() const { return _pipe.IsValid(); }
  void RoundTrip() {
    Tagwright::MessageHeader header;
    header.messageType = Tagwright::eKeepAlive;
    if (!Write(_pipe.Get(), header) || !Read(_pipe.Get(), header)) {
      throw std::runtime_error("a request was not answered");
    }
  }

 private:
  const ScopedHandle _pipe;
};

}  // namespace

void PrintRows() {
  const Tagwright::WideString echoPath = Tagwright::PipePath(Tagwright::FreshPipeName());
  const ScopedHandle echoPipe(
      CreateNamedPipeW(echoPath.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 0, 0, 0, nullptr));
  const std::jthread echo([&echoPipe] { Echo(echoPipe.Get()); });
  PipeClient echoClient(echoPath);
  Tagwright::ServerProcess process;
  const Tagwright::WideString name = Tagwright::FreshPipeName();
  if (!process.Start(name, Tagwright::ServerKind::kController)) {
    throw std::runtime_error("tagwright did not start");
  }
  std::optional<PipeClient> client;
  const ULONGLONG start = GetTickCount64();
  while (!client || !client->IsConnected()) {
    if (GetTickCount64() - start > kTimeoutMs) throw std::runtime_error("the pipe does not come");
    client.emplace(Tagwright::PipePath(name));
  }
  CompareRatio({"eKeepAlive under Wine", [&] { client->RoundTrip(); }},
               {"bare named-pipe echo", [&] { echoClient.RoundTrip(); }}, kRepetitions,
               "1.10 times");
}

}  // namespace Bench
