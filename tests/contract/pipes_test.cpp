#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "common/on_wine.h"
#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

const Text kPrefix = TEXT("\\\\.\\pipe\\");
constexpr DWORD kBufferBytes = 4096;
// More than any buffer takes, so that writing it blocks until somebody reads.
constexpr DWORD kHugeBytes = 4 * 1024 * 1024;

DWORD ErrorOf(BOOL succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

HANDLE CreateServer(const Text& path) {
  return CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, kBufferBytes, kBufferBytes, 0,
                          nullptr);
}

HANDLE OpenClient(const Text& path, DWORD access = GENERIC_READ | GENERIC_WRITE) {
  return CreateFileW(path.c_str(), access, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

DWORD ErrorOfOpening(const Text& path) {
  const HANDLE client = OpenClient(path);
  if (client == INVALID_HANDLE_VALUE) return GetLastError();
  CloseHandle(client);
  return ERROR_SUCCESS;
}

DWORD Send(HANDLE pipe, const std::string& bytes) {
  DWORD written = 0;
  const BOOL sent =
      WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  EXPECT_EQ(written, sent ? bytes.size() : 0);
  return ErrorOf(sent);
}

DWORD Receive(HANDLE pipe, std::string& bytes) {
  char buffer[kBufferBytes];
  DWORD count = 0;
  const DWORD error = ErrorOf(ReadFile(pipe, buffer, sizeof buffer, &count, nullptr));
  bytes.assign(buffer, count);
  return error;
}

DWORD Receive(HANDLE pipe) {
  std::string ignored;
  return Receive(pipe, ignored);
}

DWORD SendTooMuch(HANDLE pipe) { return Send(pipe, std::string(kHugeBytes, 'x')); }
DWORD Flush(HANDLE pipe) { return ErrorOf(FlushFileBuffers(pipe)); }
DWORD Connect(HANDLE pipe) { return ErrorOf(ConnectNamedPipe(pipe, nullptr)); }

DWORD BytesWaiting(HANDLE pipe) {
  DWORD available = 0;
  EXPECT_TRUE(PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr));
  return available;
}

/// A call on a pipe that another thread makes, for one that blocks.
class CallInProgress {
 public:
  CallInProgress(DWORD (*call)(HANDLE), HANDLE pipe)
      : _pipe(pipe), _thread([this, call] {
          _error = call(_pipe);
          _hasEnded = true;
        }) {}

  DWORD Result() {
    _thread.join();
    return _error;
  }
  /// Cancels until it ends: a first attempt may come before the call is pending.
  DWORD Cancel() {
    while (!_hasEnded) {
      CancelIoEx(_pipe, nullptr);
      std::this_thread::yield();
    }
    return Result();
  }

 private:
  HANDLE _pipe;
  std::atomic<bool> _hasEnded{false};
  DWORD _error = ERROR_SUCCESS;
  std::thread _thread;
};

class Pipes : public testing::Test {
 protected:
  void SetUp() override {
    _path = kPrefix + UniqueName(TEXT("tagwright-"));
    _server = CreateServer(_path);
    ASSERT_NE(_server, INVALID_HANDLE_VALUE) << GetLastError();
  }
  void TearDown() override {
    CloseClient();
    CloseServer();
  }
  void CloseServer() { Close(_server); }
  void CloseClient() { Close(_client); }
  static void Close(HANDLE& handle) {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    handle = INVALID_HANDLE_VALUE;
  }

  void Open() {
    _client = OpenClient(_path);
    ASSERT_NE(_client, INVALID_HANDLE_VALUE) << GetLastError();
  }
  void OpenAndConnect() {
    Open();
    ASSERT_EQ(Connect(_server), ERROR_PIPE_CONNECTED);
  }
  void ExpectNothingPending() {
    // Wine reports success when there is nothing to cancel.
    if (!OnWine()) {
      EXPECT_EQ(ErrorOf(CancelIoEx(_server, nullptr)), ERROR_NOT_FOUND);
    }
  }
  void WaitUntilFull(HANDLE reader) {
    while (BytesWaiting(reader) == 0) std::this_thread::yield();
  }
  /// What goes in at one end comes out at the other, both ways.
  void ExpectUsable() {
    std::string bytes;
    ASSERT_EQ(Send(_client, "request"), ERROR_SUCCESS);
    ASSERT_EQ(Receive(_server, bytes), ERROR_SUCCESS);
    EXPECT_EQ(bytes, "request");
    ASSERT_EQ(Send(_server, "reply"), ERROR_SUCCESS);
    ASSERT_EQ(Receive(_client, bytes), ERROR_SUCCESS);
    EXPECT_EQ(bytes, "reply");
  }

  Text _path;
  HANDLE _server = INVALID_HANDLE_VALUE;
  HANDLE _client = INVALID_HANDLE_VALUE;
};

TEST_F(Pipes, OneInstanceAndOneClient) {
  EXPECT_EQ(CreateServer(_path), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_PIPE_BUSY);
  OpenAndConnect();
  EXPECT_EQ(ErrorOfOpening(_path), ERROR_PIPE_BUSY);
  CloseClient();
  EXPECT_EQ(ErrorOfOpening(_path), ERROR_PIPE_BUSY) << "after the first client has gone";
  ASSERT_TRUE(DisconnectNamedPipe(_server));
  EXPECT_EQ(ErrorOfOpening(_path), ERROR_PIPE_BUSY) << "after disconnecting";
  CloseServer();
  EXPECT_EQ(ErrorOfOpening(_path), ERROR_FILE_NOT_FOUND);
  _server = CreateServer(_path);
  EXPECT_NE(_server, INVALID_HANDLE_VALUE) << "a closed pipe's name is free";
}

TEST_F(Pipes, ListensAgainAfterDisconnecting) {
  OpenAndConnect();
  ASSERT_TRUE(DisconnectNamedPipe(_server));
  CloseClient();
  CallInProgress connecting(Connect, _server);
  while ((_client = OpenClient(_path)) == INVALID_HANDLE_VALUE) std::this_thread::yield();
  EXPECT_EQ(connecting.Result(), ERROR_SUCCESS);
  ExpectUsable();
}

TEST_F(Pipes, ConnectingTellsWhatItFinds) {
  EXPECT_EQ(Receive(_server), ERROR_PIPE_LISTENING);
  Open();
  ExpectUsable();
  EXPECT_EQ(Connect(_server), ERROR_PIPE_CONNECTED);
  CloseClient();
  EXPECT_EQ(Connect(_server), ERROR_NO_DATA);
}

TEST_F(Pipes, NamesIgnoreLetterCase) {
  const Text name = UniqueName(TEXT("tagwright-"));
  const HANDLE server = CreateServer(TEXT("\\\\.\\PIPE\\") + name + TEXT("-\u00C4 /%.\u03A9"));
  ASSERT_NE(server, INVALID_HANDLE_VALUE) << GetLastError();
  EXPECT_EQ(ErrorOfOpening(kPrefix + name + TEXT("-\u00E4 /%.\u03C9")), ERROR_SUCCESS);
  CloseHandle(server);
}

TEST_F(Pipes, NamesMayBeLong) {
  const Text longest = _path + Text(256 - _path.size(), TEXT('n'));
  const HANDLE server = CreateServer(longest);
  EXPECT_NE(server, INVALID_HANDLE_VALUE) << GetLastError();
  EXPECT_EQ(ErrorOfOpening(longest), ERROR_SUCCESS);
  CloseHandle(server);
}

TEST_F(Pipes, WhatAClientLeftBehindIsReadBeforeTheEnd) {
  OpenAndConnect();
  ASSERT_EQ(Send(_client, "last words"), ERROR_SUCCESS);
  CloseClient();
  std::string bytes;
  EXPECT_EQ(Receive(_server, bytes), ERROR_SUCCESS);
  EXPECT_EQ(bytes, "last words");
  EXPECT_EQ(Receive(_server), ERROR_BROKEN_PIPE);
  EXPECT_EQ(Receive(_server), ERROR_BROKEN_PIPE);
  EXPECT_EQ(Send(_server, "too late"), ERROR_NO_DATA);
}

TEST_F(Pipes, ClientSeesTheServerGo) {
  OpenAndConnect();
  ASSERT_EQ(Send(_client, "never read"), ERROR_SUCCESS);
  ASSERT_EQ(Send(_server, "reply"), ERROR_SUCCESS);
  CloseServer();
  EXPECT_EQ(Receive(_client), ERROR_SUCCESS);
  EXPECT_EQ(Receive(_client), ERROR_BROKEN_PIPE);
  EXPECT_EQ(Send(_client, "too late"), ERROR_NO_DATA);
}

TEST_F(Pipes, PeekLooksAndLeaves) {
  OpenAndConnect();
  EXPECT_EQ(BytesWaiting(_client), 0U);
  ASSERT_EQ(Send(_server, "0123456789"), ERROR_SUCCESS);
  char first[4];
  DWORD copied = 0;
  DWORD available = 0;
  ASSERT_TRUE(PeekNamedPipe(_client, first, sizeof first, &copied, &available, nullptr));
  EXPECT_EQ(std::string(first, copied), "0123");
  EXPECT_EQ(available, 10U);
  EXPECT_EQ(BytesWaiting(_client), 10U);
}

TEST_F(Pipes, DisconnectingDropsWhatIsUnreadAndEndsEverything) {
  OpenAndConnect();
  ASSERT_EQ(Send(_client, "never read"), ERROR_SUCCESS);
  ASSERT_TRUE(DisconnectNamedPipe(_server));
  EXPECT_EQ(Receive(_server), ERROR_PIPE_NOT_CONNECTED);
  EXPECT_EQ(Send(_server, "x"), ERROR_PIPE_NOT_CONNECTED);
  // Wine lets a disconnected pipe be flushed.
  if (!OnWine()) {
    EXPECT_EQ(Flush(_server), ERROR_PIPE_NOT_CONNECTED);
  }
  EXPECT_EQ(ErrorOf(DisconnectNamedPipe(_server)), ERROR_PIPE_NOT_CONNECTED);
  EXPECT_NE(Receive(_client), ERROR_SUCCESS);
}

TEST_F(Pipes, CancelEndsEveryBlockedCallAndNothingElse) {
  ExpectNothingPending();
  EXPECT_EQ(CallInProgress(Connect, _server).Cancel(), ERROR_OPERATION_ABORTED);
  OpenAndConnect();
  EXPECT_EQ(CallInProgress(Receive, _server).Cancel(), ERROR_OPERATION_ABORTED);
  EXPECT_EQ(CallInProgress(Receive, _client).Cancel(), ERROR_OPERATION_ABORTED);
  ASSERT_EQ(Send(_server, "unread"), ERROR_SUCCESS);
  EXPECT_EQ(CallInProgress(Flush, _server).Cancel(), ERROR_OPERATION_ABORTED);
  ExpectNothingPending();
  ASSERT_EQ(Receive(_client), ERROR_SUCCESS);
  ExpectUsable();
  EXPECT_EQ(CallInProgress(SendTooMuch, _server).Cancel(), ERROR_OPERATION_ABORTED);
}

TEST_F(Pipes, FlushWaitsForTheReader) {
  OpenAndConnect();
  EXPECT_EQ(Flush(_server), ERROR_SUCCESS);
  for (int round = 0; round < 200; ++round) {
    ASSERT_EQ(Send(_server, "one"), ERROR_SUCCESS);
    ASSERT_EQ(Send(_server, "two"), ERROR_SUCCESS);
    std::atomic<bool> isRead{false};
    std::thread reader([&] {
      char bytes[3];
      DWORD count = 0;
      ReadFile(_client, bytes, sizeof bytes, &count, nullptr);
      isRead = true;
      ReadFile(_client, bytes, sizeof bytes, &count, nullptr);
    });
    EXPECT_EQ(Flush(_server), ERROR_SUCCESS);
    EXPECT_TRUE(isRead);
    reader.join();
  }
}

TEST_F(Pipes, BlockedWriteEndsWithThePipe) {
  OpenAndConnect();
  CallInProgress orphaned(SendTooMuch, _server);
  WaitUntilFull(_client);
  CloseClient();
  EXPECT_NE(orphaned.Result(), ERROR_SUCCESS);
}

TEST_F(Pipes, TerminatedThreadLeavesThePipeUsable) {
  const auto connectAndRead = [](void* pipe) -> unsigned {
    Connect(pipe);
    Receive(pipe);
    return 0;
  };
  const HANDLE thread =
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, connectAndRead, _server, 0, nullptr));
  Open();
  ASSERT_TRUE(TerminateThread(thread, 260));
  EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  CloseHandle(thread);
  ExpectUsable();
}

TEST_F(Pipes, HandlesAreChecked) {
  const HANDLE closed = _server;
  CloseServer();
  EXPECT_EQ(Connect(closed), ERROR_INVALID_HANDLE);
  EXPECT_EQ(Send(closed, "x"), ERROR_INVALID_HANDLE);
  EXPECT_EQ(Receive(closed), ERROR_INVALID_HANDLE);
  EXPECT_EQ(ErrorOf(CancelIoEx(closed, nullptr)), ERROR_INVALID_HANDLE);
  EXPECT_EQ(ErrorOf(DisconnectNamedPipe(closed)), ERROR_INVALID_HANDLE);
}

}  // namespace
