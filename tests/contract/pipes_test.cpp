#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "common/test_thread.h"
#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;
using Call = DWORD (*)(HANDLE);

constexpr DWORD kBufferBytes = 4096;
// More than any buffer takes, so that writing it blocks until somebody reads.
constexpr DWORD kHugeBytes = 4 * 1024 * 1024;

DWORD ErrorOf(BOOL succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

HANDLE CreateServer(const Text& path) {
  return CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, kBufferBytes, kBufferBytes, 0,
                          nullptr);
}

HANDLE OpenClient(const Text& path) {
  return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                     nullptr);
}

DWORD ErrorOfOpening(const Text& path) {
  const HANDLE client = OpenClient(path);
  return client == INVALID_HANDLE_VALUE ? GetLastError() : ErrorOf(CloseHandle(client));
}

DWORD Send(HANDLE pipe, const std::string& bytes) {
  DWORD written = 0;
  return ErrorOf(
      WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
}

/// What is there to be read, or the error.
std::string Read(HANDLE pipe) {
  char buffer[kBufferBytes];
  DWORD count = 0;
  const BOOL isRead = ReadFile(pipe, buffer, sizeof buffer, &count, nullptr);
  return isRead ? std::string(buffer, count) : "error " + std::to_string(GetLastError());
}

DWORD Receive(HANDLE pipe) {
  char byte = 0;
  DWORD count = 0;
  return ErrorOf(ReadFile(pipe, &byte, 1, &count, nullptr));
}
DWORD SendTooMuch(HANDLE pipe) { return Send(pipe, std::string(kHugeBytes, 'x')); }
DWORD Flush(HANDLE pipe) { return ErrorOf(FlushFileBuffers(pipe)); }
DWORD Connect(HANDLE pipe) { return ErrorOf(ConnectNamedPipe(pipe, nullptr)); }
DWORD Disconnect(HANDLE pipe) { return ErrorOf(DisconnectNamedPipe(pipe)); }
DWORD Cancel(HANDLE pipe) { return ErrorOf(CancelIoEx(pipe, nullptr)); }

/// Looks again and again until `condition` holds; false when it does not within a minute.
template <class Condition>
bool Await(Condition&& condition) {
  const ULONGLONG end = GetTickCount64() + 60000;
  while (!condition()) {
    if (GetTickCount64() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

/// Makes the call on another thread and cancels until it ends: a first attempt may come too early.
DWORD CancelBlocked(Call call, HANDLE pipe) {
  auto blocked = std::async(std::launch::async, call, pipe);
  const bool hasEnded = Await([&] {
    Cancel(pipe);
    return blocked.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  });
  if (!hasEnded) CloseHandle(pipe);  // It ends the call at any rate.
  return blocked.get();
}

class Pipes : public testing::Test {
 protected:
  void SetUp() override {
    _path = UniqueName(TEXT("\\\\.\\pipe\\Tagwright-\u00C4 /%.\u03A9-"));
    _server = CreateServer(_path);
    ASSERT_NE(_server, INVALID_HANDLE_VALUE) << GetLastError();
  }
  void TearDown() override {
    Close(_client);
    Close(_server);
  }
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
  void ExpectUsable() {
    EXPECT_EQ(Send(_client, "request"), ERROR_SUCCESS);
    EXPECT_EQ(Read(_server), "request");
    EXPECT_EQ(Send(_server, "reply"), ERROR_SUCCESS);
    EXPECT_EQ(Read(_client), "reply");
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
  Close(_client);
  EXPECT_EQ(ErrorOfOpening(_path), ERROR_PIPE_BUSY) << "after the first client has gone";
  ASSERT_EQ(Disconnect(_server), ERROR_SUCCESS);
  EXPECT_EQ(ErrorOfOpening(_path), ERROR_PIPE_BUSY) << "after disconnecting";

  auto connecting = std::async(std::launch::async, Connect, _server);
  const auto tryToOpen = [&] { return (_client = OpenClient(_path)) != INVALID_HANDLE_VALUE; };
  if (!Await(tryToOpen)) Cancel(_server);
  EXPECT_EQ(connecting.get(), ERROR_SUCCESS) << "it listens again";
  ExpectUsable();

  const HANDLE closed = _server;
  Close(_server);
  for (const Call call : {Connect, Receive, SendTooMuch, Flush, Cancel, Disconnect}) {
    EXPECT_EQ(call(closed), ERROR_INVALID_HANDLE);
  }
  EXPECT_EQ(ErrorOfOpening(_path), ERROR_FILE_NOT_FOUND);
}

TEST_F(Pipes, ConnectingTellsWhatItFinds) {
  EXPECT_EQ(Receive(_server), ERROR_PIPE_LISTENING);
  Open();
  ExpectUsable();
  EXPECT_EQ(Connect(_server), ERROR_PIPE_CONNECTED);
  Close(_client);
  EXPECT_EQ(Connect(_server), ERROR_NO_DATA);
}

TEST_F(Pipes, WhatACloserLeftBehindIsReadBeforeTheEnd) {
  for (const bool serverCloses : {false, true}) {
    OpenAndConnect();
    HANDLE& closer = serverCloses ? _server : _client;
    const HANDLE reader = serverCloses ? _client : _server;
    ASSERT_EQ(Send(closer, "last words"), ERROR_SUCCESS);
    ASSERT_EQ(Send(reader, "never read"), ERROR_SUCCESS);
    Close(closer);
    EXPECT_EQ(Read(reader), "last words");
    EXPECT_EQ(Receive(reader), ERROR_BROKEN_PIPE);
    EXPECT_EQ(Send(reader, "too late"), ERROR_NO_DATA);
    TearDown();
    SetUp();
  }
}

TEST_F(Pipes, CancelEndsEveryBlockedCallAndNothingElse) {
  EXPECT_EQ(CancelBlocked(Connect, _server), ERROR_OPERATION_ABORTED);
  OpenAndConnect();
  EXPECT_EQ(CancelBlocked(Receive, _server), ERROR_OPERATION_ABORTED);
  EXPECT_EQ(CancelBlocked(Receive, _client), ERROR_OPERATION_ABORTED);
  ASSERT_EQ(Send(_server, "unread"), ERROR_SUCCESS);
  EXPECT_EQ(CancelBlocked(Flush, _server), ERROR_OPERATION_ABORTED);
  Cancel(_server);  // There is nothing to cancel now.
  EXPECT_EQ(Read(_client), "unread");
  ExpectUsable();
  EXPECT_EQ(CancelBlocked(SendTooMuch, _server), ERROR_OPERATION_ABORTED);
}

TEST_F(Pipes, FlushWaitsForTheReader) {
  OpenAndConnect();
  EXPECT_EQ(Flush(_server), ERROR_SUCCESS);
  for (int round = 0; round < 200; ++round) {
    ASSERT_EQ(Send(_server, "a"), ERROR_SUCCESS);
    ASSERT_EQ(Send(_server, "b"), ERROR_SUCCESS);
    std::atomic<bool> isRead{false};
    std::thread reader([&] {
      Receive(_client);
      isRead = true;
      Receive(_client);
    });
    EXPECT_EQ(Flush(_server), ERROR_SUCCESS);
    EXPECT_TRUE(isRead);
    reader.join();
  }
}

TEST_F(Pipes, WhatIsSentIsReadInAnyPieces) {
  OpenAndConnect();
  std::string sent;
  for (int number = 0; sent.size() < 3 * 64 * 1024; ++number) sent += std::to_string(number);
  auto sending = std::async(std::launch::async, Send, _client, sent);
  std::string received;
  for (DWORD size = 1; received.size() < sent.size(); size = size * 3 + 13) {
    std::string piece(size, '\0');
    DWORD count = 0;
    ASSERT_TRUE(ReadFile(_server, piece.data(), size, &count, nullptr));
    received += piece.substr(0, count);
  }
  EXPECT_TRUE(received == sent);
  EXPECT_EQ(sending.get(), ERROR_SUCCESS);
}

TEST_F(Pipes, ReadersShareWhatComesAtOnce) {
  OpenAndConnect();
  for (int round = 0; round < 200; ++round) {
    auto first = std::async(std::launch::async, Receive, _server);
    auto second = std::async(std::launch::async, Receive, _server);
    ASSERT_EQ(Send(_client, "ab"), ERROR_SUCCESS);
    EXPECT_EQ(first.get() + second.get(), ERROR_SUCCESS);
  }
}

TEST_F(Pipes, TerminatedThreadLeavesThePipeUsable) {
  TestThread thread([&] { return Connect(_server) + Receive(_server); });
  Open();
  ASSERT_TRUE(TerminateThread(thread.Handle(), 260));
  thread.Join();
  ExpectUsable();
}

}  // namespace
