// What a pipe is on the file system, and what only this layer promises about it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "common/unique_name.h"
#include "common/victim.h"
#include "platform/posix/kernel/text.h"
#include "platform/windows_api.h"

namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Text = std::u16string;

DWORD ErrorOf(BOOL succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

HANDLE CreateServer(const Text& name, SECURITY_ATTRIBUTES* attributes = nullptr) {
  return CreateNamedPipeW((u"\\\\.\\pipe\\" + name).c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 0, 0, 0,
                          attributes);
}

HANDLE OpenClient(const Text& name) {
  return CreateFileW((u"\\\\.\\pipe\\" + name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                     OPEN_EXISTING, 0, nullptr);
}

std::filesystem::path SocketFolder() {
  return std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / "pipe";
}

std::vector<std::string> FilesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (!entry.is_directory()) names.push_back(entry.path().filename());
  }
  return names;
}

/// A client that knows nothing of this layer.
class UnixClient {
 public:
  explicit UnixClient(const std::string& fileName) : _socket(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (SocketFolder() / fileName).string().copy(address.sun_path, sizeof address.sun_path - 1);
    _error =
        connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
  }
  ~UnixClient() { close(_socket); }
  UnixClient(const UnixClient&) = delete;
  UnixClient& operator=(const UnixClient&) = delete;

  int Error() const { return _error; }
  void Send(const std::string& bytes) {
    EXPECT_EQ(send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  void StopSending() { shutdown(_socket, SHUT_WR); }
  std::string Receive() {
    char buffer[64];
    const ssize_t count = recv(_socket, buffer, sizeof buffer, 0);
    return {buffer, static_cast<std::size_t>(count > 0 ? count : 0)};
  }

 private:
  int _socket;
  int _error;
};

class PipeSocket : public testing::Test {
 protected:
  void TearDown() override {
    CloseHandle(_server);
    EXPECT_THAT(FilesIn(SocketFolder()), IsEmpty());
    EXPECT_THAT(FilesIn(SocketFolder() / ".lock"), IsEmpty()) << "lock files pile up";
  }
  void Serve(const Text& name, SECURITY_ATTRIBUTES* attributes = nullptr) {
    _server = CreateServer(name, attributes);
    ASSERT_NE(_server, INVALID_HANDLE_VALUE) << GetLastError();
  }
  std::string Receive() {
    char buffer[64];
    DWORD count = 0;
    EXPECT_EQ(ErrorOf(ReadFile(_server, buffer, sizeof buffer, &count, nullptr)), ERROR_SUCCESS);
    return {buffer, count};
  }
  DWORD ModeOf(const std::string& fileName) {
    struct stat state {};
    stat((SocketFolder() / fileName).c_str(), &state);
    return state.st_mode & 0777U;
  }

  HANDLE _server = INVALID_HANDLE_VALUE;
};

// Serves the pipe that its argument names until it is killed or released.
const VictimRole kServer("pipe-server", [](VictimSide& side, const std::string& name) {
  const HANDLE server = CreateServer(platform::ToUtf16(name));
  side.Ready();
  side.WaitUntilReleased();
  return server == INVALID_HANDLE_VALUE ? 1 : 0;
});

TEST_F(PipeSocket, ClientsNeedNoLibrary) {
  Serve(u"Plain");
  UnixClient client("plain");
  ASSERT_EQ(client.Error(), 0);
  EXPECT_EQ(ErrorOf(ConnectNamedPipe(_server, nullptr)), ERROR_PIPE_CONNECTED);
  EXPECT_EQ(UnixClient("plain").Error(), ECONNREFUSED) << "a second client must not wait";
  client.Send("request");
  client.StopSending();
  EXPECT_EQ(Receive(), "request");
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(_server, "reply", 5, &written, nullptr)) << "it still reads";
  EXPECT_EQ(client.Receive(), "reply");
  ASSERT_TRUE(DisconnectNamedPipe(_server));
  EXPECT_EQ(client.Receive(), "");
}

TEST_F(PipeSocket, NamesBecomeFileNames) {
  const struct {
    Text name;
    std::string fileName;
  } cases[] = {{u".Lock", "%2elock"},
               {u"A/B%.C", "a%2fb%25.c"},
               {u"\u00C4\u03A9\U0001F600", "\u00E4\u03C9\U0001F600"}};
  for (const auto& [name, fileName] : cases) {
    Serve(name);
    EXPECT_THAT(FilesIn(SocketFolder()), UnorderedElementsAre(fileName));
    EXPECT_EQ(UnixClient(fileName).Error(), 0);
    CloseHandle(_server);
  }
  // Too long for a file name: two that differ at the end only are still two.
  const Text start(240, u'\u00E4');
  Serve(start + u"1");
  const HANDLE other = CreateServer(start + u"2");
  EXPECT_NE(other, INVALID_HANDLE_VALUE) << GetLastError();
  CloseHandle(other);
}

TEST_F(PipeSocket, RefusesWhatItDoesNotProvide) {
  const Text longest(256 - 9, u'n');
  for (const Text& name : {Text(), Text(u"a\\b"), longest + u"n"}) {
    EXPECT_EQ(CreateServer(name), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
  }
  const struct {
    DWORD openMode, pipeMode, instances;
  } modes[] = {{1, 0, 1}, {PIPE_ACCESS_DUPLEX, 4, 1}, {PIPE_ACCESS_DUPLEX, 0, 2}};
  for (const auto& mode : modes) {
    EXPECT_EQ(CreateNamedPipeW(u"\\\\.\\pipe\\mode", mode.openMode, mode.pipeMode, mode.instances,
                               0, 0, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }
  Serve(longest);
  const auto overlapped = reinterpret_cast<LPOVERLAPPED>(this);
  EXPECT_EQ(ErrorOf(ConnectNamedPipe(_server, overlapped)), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(ErrorOf(CancelIoEx(_server, overlapped)), ERROR_INVALID_PARAMETER);
}

TEST_F(PipeSocket, ModeFollowsTheDescriptor) {
  Serve(u"mine");
  EXPECT_EQ(ModeOf("mine"), 0600U);
  CloseHandle(_server);
  SECURITY_ATTRIBUTES everyone{sizeof everyone, nullptr, FALSE};
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
      u"D:(A;OICI;GA;;;WD)", SDDL_REVISION_1, &everyone.lpSecurityDescriptor, nullptr));
  Serve(u"open", &everyone);
  EXPECT_EQ(ModeOf("open"), 0666U);
  LocalFree(everyone.lpSecurityDescriptor);
}

TEST_F(PipeSocket, OnlyADeadProcessIsReplaced) {
  Victim victim("pipe-server", "shared");
  victim.WaitUntilReady();
  EXPECT_EQ(CreateServer(u"shared"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_PIPE_BUSY);
  victim.Kill();
  EXPECT_TRUE(std::filesystem::exists(SocketFolder() / "shared"));
  EXPECT_EQ(OpenClient(u"shared"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  Serve(u"shared");
  EXPECT_EQ(UnixClient("shared").Error(), 0);
}

TEST_F(PipeSocket, AProcessThatEndsTidiesUp) {
  Victim victim("pipe-server", "tidy");
  victim.WaitUntilReady();
  victim.Release();
  EXPECT_EQ(victim.ExitCode(), 0U);
  EXPECT_FALSE(std::filesystem::exists(SocketFolder() / "tidy"));
}

TEST_F(PipeSocket, BlockedCallsEndWithTheirHandle) {
  for (const bool disconnects : {true, false}) {
    Serve(u"blocked");
    const HANDLE client = OpenClient(u"blocked");
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(_server, "unread", 6, &written, nullptr));
    DWORD readError = 0;
    DWORD flushError = 0;
    std::thread reader([&] {
      char byte = 0;
      DWORD count = 0;
      readError = ErrorOf(ReadFile(_server, &byte, 1, &count, nullptr));
    });
    std::thread flusher([&] { flushError = ErrorOf(FlushFileBuffers(_server)); });
    EXPECT_TRUE(disconnects ? DisconnectNamedPipe(_server) : CloseHandle(_server));
    reader.join();
    flusher.join();
    if (disconnects) {
      EXPECT_EQ(readError, ERROR_PIPE_NOT_CONNECTED);
      EXPECT_EQ(flushError, ERROR_PIPE_NOT_CONNECTED);
      CloseHandle(_server);
    }
    CloseHandle(client);
  }
}

// Many clients at once: exactly one is let in, the others are told so.
TEST_F(PipeSocket, OneOfManyIsLetIn) {
  for (int round = 0; round < 50; ++round) {
    Serve(u"crowd");
    std::atomic<int> admitted{0};
    std::atomic<int> busy{0};
    std::vector<std::thread> crowd;
    for (int index = 0; index < 4; ++index) {
      crowd.emplace_back([&] {
        const HANDLE client = OpenClient(u"crowd");
        if (client == INVALID_HANDLE_VALUE) {
          busy += GetLastError() == ERROR_PIPE_BUSY;
          return;
        }
        DWORD written = 0;
        admitted += WriteFile(client, "x", 1, &written, nullptr);
        CloseHandle(client);
      });
    }
    for (std::thread& client : crowd) client.join();
    EXPECT_EQ(admitted, 1);
    EXPECT_EQ(busy, 3);
    CloseHandle(_server);
  }
}

}  // namespace
