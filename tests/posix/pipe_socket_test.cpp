// What a pipe is on the file system, and what only this layer promises about it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "common/resource_limit.h"
#include "common/victim.h"
#include "platform/posix/kernel/text.h"
#include "platform/windows_api.h"

namespace {

using Text = std::u16string;

DWORD ErrorOf(BOOL succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

HANDLE CreateServer(const Text& name) {
  return CreateNamedPipeW((u"\\\\.\\pipe\\" + name).c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 0, 0, 0,
                          nullptr);
}

DWORD ErrorOfOpening(const Text& name) {
  const HANDLE client = CreateFileW((u"\\\\.\\pipe\\" + name).c_str(), GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  return client == INVALID_HANDLE_VALUE ? GetLastError() : ErrorOf(CloseHandle(client));
}

std::filesystem::path SocketFolder() {
  return std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / "pipe";
}

/// A client that knows nothing of this layer.
class UnixClient {
 public:
  explicit UnixClient(const std::string& fileName) {
    sockaddr_un address{AF_UNIX, {}};
    (SocketFolder() / fileName).string().copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) error = errno;
  }
  ~UnixClient() { close(_socket); }
  void Send(const std::string& bytes) { send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
  void StopSending() { shutdown(_socket, SHUT_WR); }
  std::string Receive() {
    char buffer[64];
    return {buffer, static_cast<std::size_t>(std::max<ssize_t>(recv(_socket, buffer, 64, 0), 0))};
  }

  int error = 0;

 private:
  const int _socket = socket(AF_UNIX, SOCK_STREAM, 0);
};

class PipeSocket : public testing::Test {
 protected:
  void TearDown() override {
    CloseHandle(_server);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(SocketFolder())) {
      EXPECT_TRUE(entry.is_directory()) << entry.path() << " is left";
    }
  }
  void Serve(const Text& name) {
    CloseHandle(_server);
    _server = CreateServer(name);
    ASSERT_NE(_server, INVALID_HANDLE_VALUE) << GetLastError();
  }
  HANDLE _server = INVALID_HANDLE_VALUE;
};

// Serves the pipe that its argument names, and another, until it is killed or released.
const VictimRole kServer("pipe-server", [](VictimSide& side, const std::string& name) {
  CreateServer(platform::ToUtf16(name));
  CreateServer(platform::ToUtf16(name + "-2"));
  side.Ready();
  side.WaitUntilReleased();
  return 0;
});

TEST_F(PipeSocket, ClientsNeedNoLibrary) {
  Serve(u"Plain");
  UnixClient client("plain");
  ASSERT_EQ(client.error, 0);
  EXPECT_EQ(ErrorOf(ConnectNamedPipe(_server, nullptr)), ERROR_PIPE_CONNECTED);
  EXPECT_EQ(UnixClient("plain").error, ECONNREFUSED) << "a second client must not wait";
  client.Send("request");
  client.StopSending();
  char request[8];
  DWORD count = 0;
  ASSERT_TRUE(ReadFile(_server, request, sizeof request, &count, nullptr));
  EXPECT_EQ(std::string(request, count), "request");
  EXPECT_TRUE(WriteFile(_server, "reply", 5, &count, nullptr)) << "it still reads";
  EXPECT_EQ(client.Receive(), "reply");
  ASSERT_TRUE(DisconnectNamedPipe(_server));
  EXPECT_EQ(client.Receive(), "");
}

TEST_F(PipeSocket, NamesBecomeFileNames) {
  const std::pair<Text, std::string> cases[] = {
      {u".Lock", "%2elock"},
      {u"A/B%.C", "a%2fb%25.c"},
      {u"\u00C4\u03A9\U0001F600", "\u00E4\u03C9\U0001F600"}};
  for (const auto& [name, fileName] : cases) {
    Serve(name);
    EXPECT_EQ(UnixClient(fileName).error, 0) << fileName;
  }
  const Text longest(256 - 9 - 1, u'\u00E4');
  Serve(longest + u"1");
  EXPECT_EQ(ErrorOfOpening(longest + u"2"), ERROR_FILE_NOT_FOUND) << "cut, but not mixed up";
  EXPECT_EQ(ErrorOfOpening(longest + u"1"), ERROR_SUCCESS);
  EXPECT_EQ(CreateServer(longest + u"12"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
}

TEST_F(PipeSocket, OnlyADeadProcessIsReplaced) {
  Victim orderly("pipe-server", "tidy");
  Victim victim("pipe-server", "shared");
  orderly.WaitUntilReady();
  victim.WaitUntilReady();
  EXPECT_EQ(CreateServer(u"shared"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_PIPE_BUSY);
  victim.Kill();
  orderly.Release();
  EXPECT_EQ(orderly.ExitCode(), 0U);
  EXPECT_TRUE(std::filesystem::exists(SocketFolder() / "shared"));
  EXPECT_FALSE(std::filesystem::exists(SocketFolder() / "tidy"));
  EXPECT_EQ(ErrorOfOpening(u"shared"), ERROR_FILE_NOT_FOUND);
  Serve(u"shared");
  EXPECT_EQ(UnixClient("shared").error, 0);
  EXPECT_EQ(ErrorOfOpening(u"shared-2"), ERROR_FILE_NOT_FOUND) << "the names end one by one";
  Serve(u"shared-2");
  EXPECT_EQ(UnixClient("shared-2").error, 0);
}

TEST_F(PipeSocket, AFifoInPlaceOfAClaimHoldsNobodyUp) {
  Victim victim("pipe-server", "fifo");
  victim.WaitUntilReady();
  victim.Kill();
  for (const char* const name : {"fifo", "fifo-2"}) {
    const auto claim = SocketFolder() / ".lock" / name;
    ASSERT_TRUE(std::filesystem::remove(claim));
    ASSERT_EQ(mkfifo(claim.c_str(), 0644), 0);
  }
  EXPECT_EQ(ErrorOfOpening(u"fifo"), ERROR_FILE_NOT_FOUND);
  Serve(u"fifo");
  Serve(u"fifo-2");
}

TEST_F(PipeSocket, ConnectionsWithoutAClientGiveTheirDescriptorsBack) {
  const ResourceLimit limit(RLIMIT_NOFILE, 128);
  std::vector<HANDLE> servers;
  for (int number = 0; number < 300; ++number) {
    const std::string name = "used-" + std::to_string(number);
    servers.push_back(CreateServer(platform::ToUtf16(name)));
    ASSERT_NE(servers.back(), INVALID_HANDLE_VALUE) << number << ": " << GetLastError();
    UnixClient client(name);
    EXPECT_EQ(client.error, 0);
    EXPECT_EQ(ErrorOf(ConnectNamedPipe(servers.back(), nullptr)), ERROR_PIPE_CONNECTED);
    if (number == 0) client.Send("last words");
  }
  char bytes[16];
  DWORD count = 0;
  EXPECT_TRUE(ReadFile(servers[0], bytes, sizeof bytes, &count, nullptr));
  EXPECT_EQ(std::string(bytes, count), "last words");
  for (const HANDLE server : {servers[0], servers[1]}) {
    EXPECT_EQ(ErrorOf(ReadFile(server, bytes, 1, &count, nullptr)), ERROR_BROKEN_PIPE);
    EXPECT_EQ(ErrorOf(WriteFile(server, bytes, 1, &count, nullptr)), ERROR_NO_DATA);
    EXPECT_EQ(ErrorOf(ConnectNamedPipe(server, nullptr)), ERROR_NO_DATA);
  }
  EXPECT_EQ(ErrorOfOpening(u"used-1"), ERROR_PIPE_BUSY);
  std::for_each(servers.begin(), servers.end(), CloseHandle);
}

TEST_F(PipeSocket, APipeIsRefusedRatherThanItsClient) {
  const ResourceLimit limit(RLIMIT_NOFILE, 128);
  std::vector<HANDLE> servers;
  std::vector<std::unique_ptr<UnixClient>> clients;
  for (;;) {
    const std::string name = "kept-" + std::to_string(servers.size());
    const HANDLE server = CreateServer(platform::ToUtf16(name));
    if (server == INVALID_HANDLE_VALUE) break;
    servers.push_back(server);
    clients.push_back(std::make_unique<UnixClient>(name));
  }
  EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_OPEN_FILES);
  EXPECT_GT(servers.size(), 32U);
  for (std::size_t number = 0; number < servers.size(); ++number) {
    EXPECT_EQ(ErrorOf(ConnectNamedPipe(servers[number], nullptr)), ERROR_PIPE_CONNECTED);
    DWORD count = 0;
    EXPECT_TRUE(WriteFile(servers[number], "reply", 5, &count, nullptr));
    EXPECT_EQ(clients[number]->Receive(), "reply");
    CloseHandle(servers[number]);
  }
}

// A handler of another signal may run when the cancellation comes, after which the system restarts
// the call.
TEST_F(PipeSocket, ACancellationIsNotLostAmongOtherSignals) {
  struct sigaction ignoring {};
  ignoring.sa_handler = [](int) {};
  ignoring.sa_flags = SA_RESTART;
  ASSERT_EQ(sigaction(SIGUSR1, &ignoring, nullptr), 0);
  Serve(u"signals");
  UnixClient client("signals");
  for (int round = 0; round < 30; ++round) {
    DWORD error = 0;
    std::thread reader([&] {
      char byte = 0;
      DWORD count = 0;
      do {
        error = ErrorOf(ReadFile(_server, &byte, 1, &count, nullptr));
      } while (error == ERROR_PIPE_LISTENING);
    });
    while (!CancelIoEx(_server, nullptr)) {
      pthread_kill(reader.native_handle(), SIGUSR1);
      std::this_thread::yield();
    }
    pthread_kill(reader.native_handle(), SIGUSR1);
    reader.join();
    EXPECT_EQ(error, ERROR_OPERATION_ABORTED);
  }
}

TEST_F(PipeSocket, OneOfManyIsLetIn) {
  for (int round = 0; round < 50; ++round) {
    Serve(u"crowd");
    std::array<std::future<DWORD>, 4> crowd;
    for (auto& client : crowd) client = std::async(std::launch::async, ErrorOfOpening, u"crowd");
    std::multiset<DWORD> errors;
    for (auto& client : crowd) errors.insert(client.get());
    EXPECT_THAT(errors, testing::UnorderedElementsAre(ERROR_SUCCESS, ERROR_PIPE_BUSY,
                                                      ERROR_PIPE_BUSY, ERROR_PIPE_BUSY));
  }
}

}  // namespace
