/// The server's end of a pipe, played by a test: it waits for the one client and then does as
/// scripted.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "client/client.h"
#include "client/server_process.h"
#include "pipe/exact_transfer.h"
#include "pipe/message_header.h"
#include "platform/windows_api.h"
#include "support/scoped_handle.h"

/// Short enough not to be noticed when it is meant to pass.
constexpr DWORD kShortMs = 50;
/// Only a fault reaches it.
constexpr DWORD kAmpleMs = 60000;

/// What a script can do with the connected pipe.
class ServerEnd {
 public:
  explicit ServerEnd(HANDLE pipe) : _pipe(pipe) {}

  /// The next `size` bytes; fewer when the client goes away first.
  std::string Read(std::size_t size) {
    std::string bytes(size, '\0');
    DWORD total = 0;
    Tagwright::TransferExactly(bytes.data(), static_cast<DWORD>(size),
                               Tagwright::ReadingFrom(_pipe), &total);
    bytes.resize(total);
    return bytes;
  }

  void Write(const std::string& bytes) {
    DWORD done = 0;
    WriteFile(_pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr);
    FlushFileBuffers(_pipe);
  }

  void WaitUntilClientLeaves() { Read(1); }

 private:
  HANDLE _pipe;
};

class FakeServer {
 public:
  /// The pipe is there when the constructor returns, and gone when the script has ended.
  explicit FakeServer(std::function<void(ServerEnd&)> script)
      : _name(Tagwright::FreshPipeName()),
        _pipe(CreateNamedPipeW(Tagwright::PipePath(_name).c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 0, 0,
                               0, nullptr)),
        _thread([this, script = std::move(script)] {
          if (ConnectNamedPipe(_pipe.Get(), nullptr) || GetLastError() == ERROR_PIPE_CONNECTED) {
            ServerEnd end(_pipe.Get());
            script(end);
          }
          _pipe.Close();
        }) {}

  /// The client has gone by now; one that never came is stood in for, so that the wait for it ends.
  ~FakeServer() {
    Tagwright::Client standIn;
    standIn.Connect(_name);
    standIn.Close();
    _thread.join();
  }

  const Tagwright::WideString& Name() const { return _name; }

 private:
  const Tagwright::WideString _name;
  ScopedHandle _pipe;
  std::thread _thread;
};

/// The 16 bytes of a header, little-endian.
inline std::string HeaderBytes(std::uint32_t type, std::uint32_t length, std::uint32_t status,
                               const std::string& magic = "#@BK") {
  std::string bytes = magic;
  for (const std::uint32_t field : {type, length, status}) {
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(field >> shift);
  }
  return bytes;
}

/// What is no reply to a request of `type`; the server closes after it. It is cut short, or wrong.
struct BadAnswer {
  std::string bytes;
  bool isWhole;
};
inline std::vector<BadAnswer> BadAnswersTo(std::uint32_t type) {
  return {{"", false},
          {HeaderBytes(type, 0, 0).substr(0, 5), false},
          {HeaderBytes(type, 0, 0, "#@bk"), true},
          {HeaderBytes(type + 1, 0, 0), true},
          {HeaderBytes(type, 4, 0), true}};
}
