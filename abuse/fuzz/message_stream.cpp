/// Any bytes, cut anywhere, to a pipe server with a client in the same process. A second reading of
/// the stream, by the rules of the protocol alone, says which requests the server must have met and
/// which replies it must give.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <optional>
#include <vector>

#include "common/unique_name.h"
#include "fuzz/fuzz_target.h"
#include "pipe/exact_transfer.h"
#include "pipe/pipe_server.h"

namespace {

using Tagwright::MessageHeader;

constexpr DWORD kLongMs = 60000;
/// So many headers fit whose replies nobody has read yet.
constexpr std::size_t kMaxPieceBytes = 4096;

struct Request {
  std::uint32_t type = 0;
  std::uint32_t sizeBytes = 0;
  std::uint32_t sum = 0;

  bool operator==(const Request&) const = default;
};

std::uint32_t SumOf(const std::uint8_t* bytes, std::size_t count) {
  return std::accumulate(bytes, bytes + count, std::uint32_t{1},
                         [](std::uint32_t sum, std::uint8_t byte) { return sum * 31 + byte; });
}

bool Ends(std::uint32_t type) { return type == Tagwright::eShutdown; }

/// Answers each request with what it saw of it.
class EchoServer : public PipeServer {
 public:
  using PipeServer::PipeServer;

 protected:
  bool ParseIncomingMessage(const MessageHeader& request, const BYTE* payload,
                            MessageHeader& reply) override {
    reply.messageType = request.messageType;
    reply.payloadLength = request.payloadLength;
    reply.status = payload == nullptr ? 1 : SumOf(payload, request.payloadLength);
    return !Ends(request.messageType);
  }
};

/// The requests of a stream that has not come to its end yet.
class Protocol {
 public:
  /// The requests that `piece` completes.
  std::vector<Request> Take(const std::uint8_t* piece, std::size_t count) {
    _bytes.insert(_bytes.end(), piece, piece + count);
    std::vector<Request> requests;
    while (!_hasEnded && TakeOne(requests)) {
    }
    return requests;
  }
  bool HasEnded() const { return _hasEnded; }

 private:
  bool TakeOne(std::vector<Request>& requests) {
    const std::size_t skipped = std::min<std::size_t>(_refusedBytes, _bytes.size() - _position);
    _position += skipped;
    _refusedBytes -= skipped;
    const std::size_t available = _bytes.size() - _position;
    MessageHeader header;
    if (_refusedBytes > 0 || available < sizeof header) return false;
    const std::uint8_t* const at = _bytes.data() + _position;
    std::memcpy(&header, at, sizeof header);
    if (!header.ValidHeader()) {
      _position += sizeof header;
      return true;
    }
    if (header.payloadLength > Tagwright::kMaxPayloadBytes) {
      _position += sizeof header;
      _refusedBytes = header.payloadLength;
      return true;
    }
    if (available < sizeof header + header.payloadLength) return false;
    requests.push_back({header.messageType, header.payloadLength,
                        SumOf(at + sizeof header, header.payloadLength)});
    _position += sizeof header + header.payloadLength;
    _hasEnded = Ends(header.messageType);
    return true;
  }

  std::vector<std::uint8_t> _bytes;
  std::size_t _position = 0;
  std::size_t _refusedBytes = 0;
  bool _hasEnded = false;
};

class Client {
 public:
  explicit Client(const std::u16string& name)
      : _pipe(CreateFileW((TEXT("\\\\.\\pipe\\") + name).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                          nullptr, OPEN_EXISTING, 0, nullptr)) {
    Fuzz::Require(_pipe != INVALID_HANDLE_VALUE, "a client that comes first is let in");
  }
  ~Client() { CloseHandle(_pipe); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void Send(const std::uint8_t* piece, std::size_t count) {
    DWORD written = 0;
    WriteFile(_pipe, piece, static_cast<DWORD>(count), &written, nullptr);
  }
  void Expect(const Request& request) {
    MessageHeader reply;
    const DWORD error = Tagwright::TransferExactly(reinterpret_cast<char*>(&reply), sizeof reply,
                                                   Tagwright::ReadingFrom(_pipe));
    Fuzz::Require(error == ERROR_SUCCESS, "each request has its reply");
    Fuzz::Require(Request{reply.messageType, reply.payloadLength, reply.status} == request,
                  "a request arrives as it was sent, and replies keep its order");
  }

 private:
  HANDLE _pipe;
};

/// Sends `stream` in pieces whose sizes follow from `seed`, and reads each reply as soon as it is
/// due.
bool Converse(Client& client, Fuzz::Bytes stream, std::uint8_t seed) {
  Protocol protocol;
  std::uint32_t random = seed + 1U;
  while (!stream.empty() && !protocol.HasEnded()) {
    random = random * 1664525U + 1013904223U;
    const std::size_t most = random >> 31U != 0 ? kMaxPieceBytes : 24;
    const std::size_t size = std::min(stream.size(), 1 + (random >> 8U) % most);
    client.Send(stream.data(), size);
    for (const Request& request : protocol.Take(stream.data(), size)) client.Expect(request);
    stream = stream.subspan(size);
  }
  return protocol.HasEnded();
}

}  // namespace

void Fuzz::MessageStream(Bytes bytes) {
  if (bytes.empty()) return;
  static const std::u16string name = UniqueName(TEXT("fuzz-"));
  EchoServer server(OString(name.c_str()));
  Require(server.CreateServerPipe() && server.StartProcessMessageThread(kLongMs),
          "a pipe of an own name can be served");
  std::optional<Client> client(name);
  const bool hasEnded = Converse(*client, bytes.subspan(1), bytes[0]);
  if (bytes[0] % 2 == 0) client.reset();
  if (!hasEnded) server.Shutdown();
  const int end = server.WaitForMultipeObjectsOrPipeTermination(0, nullptr, kLongMs, kLongMs);
  Require(end == PipeServer::kShutdownSignaled, "a server ends when it is told to");
  DWORD exitCode = PipeServer::kTerminatedThreadExitCode;
  GetExitCodeThread(server.GetThreadHandle(), &exitCode);
  Require(exitCode == 0, "its thread ends by itself");
}
