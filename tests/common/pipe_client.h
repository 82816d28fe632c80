/// The bare client side of a pipe: tests say what goes over the wire, whole or broken.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "common/unique_name.h"
#include "pipe/exact_transfer.h"
#include "pipe/message_header.h"
#include "platform/windows_api.h"

/// A pipe name that no other test uses. Log lines show its last eight characters: "the-pipe".
inline std::string UniquePipeName() {
  const auto name = UniqueName(TEXT("tagwright-test-"));
  return std::string(name.begin(), name.end()) + "-the-pipe";
}

inline Tagwright::MessageHeader Header(std::uint32_t type, std::size_t payloadBytes = 0) {
  Tagwright::MessageHeader header;
  header.messageType = type;
  header.payloadLength = static_cast<std::uint32_t>(payloadBytes);
  header.status = 0xDEAD;  // Nobody looks at a request's.
  return header;
}

class PipeClient {
 public:
  PipeClient() = default;
  ~PipeClient() { Close(); }
  PipeClient(const PipeClient&) = delete;
  PipeClient& operator=(const PipeClient&) = delete;

  /// `pipeName` is Latin-1. The system's error; 0 on success.
  DWORD TryConnect(const std::string& pipeName) {
    std::basic_string<WCHAR> path = TEXT("\\\\.\\pipe\\");
    for (const unsigned char character : pipeName) path += character;
    _pipe = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                        nullptr);
    return _pipe == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
  }
  void Connect(const std::string& pipeName) { ASSERT_EQ(TryConnect(pipeName), ERROR_SUCCESS); }

  void Close() {
    if (_pipe != INVALID_HANDLE_VALUE) CloseHandle(_pipe);
    _pipe = INVALID_HANDLE_VALUE;
  }

  void SendBytes(const void* bytes, std::size_t count) {
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(_pipe, bytes, static_cast<DWORD>(count), &written, nullptr))
        << "error " << GetLastError();
    ASSERT_EQ(written, count);
  }
  /// Returns when the server has read the bytes.
  void SendPiece(const void* bytes, std::size_t count) {
    SendBytes(bytes, count);
    ASSERT_TRUE(FlushFileBuffers(_pipe)) << "error " << GetLastError();
  }
  void SendHeader(const Tagwright::MessageHeader& header) { SendBytes(&header, sizeof(header)); }
  void Send(std::uint32_t type, std::string_view payload = {}) {
    SendHeader(Header(type, payload.size()));
    if (!payload.empty()) SendBytes(payload.data(), payload.size());
  }

  void ReadBytes(char* bytes, DWORD count) {
    ASSERT_EQ(Tagwright::TransferExactly(bytes, count, Tagwright::ReadingFrom(_pipe)),
              DWORD{ERROR_SUCCESS});
  }

  /// Sends a request in one piece and returns its reply; nothing when the server goes meanwhile.
  std::optional<Tagwright::MessageHeader> Ask(std::uint32_t type, std::string_view payload) {
    const auto header = Header(type, payload.size());
    std::string message(reinterpret_cast<const char*>(&header), sizeof(header));
    message += payload;
    DWORD written = 0;
    if (!WriteFile(_pipe, message.data(), static_cast<DWORD>(message.size()), &written, nullptr)) {
      return {};
    }
    return ReadReply();
  }

  /// The next reply; nothing when the server closed its end first.
  std::optional<Tagwright::MessageHeader> ReadReply() {
    Tagwright::MessageHeader reply;
    if (Tagwright::TransferExactly(reinterpret_cast<char*>(&reply), sizeof(reply),
                                   Tagwright::ReadingFrom(_pipe)) != ERROR_SUCCESS) {
      return {};
    }
    return reply;
  }

  /// Sends a request and expects its echo with `status`.
  void Expect(std::uint32_t status, std::uint32_t type, std::string_view payload = {}) {
    Send(type, payload);
    ExpectReply(type, status);
  }
  void ExpectReply(std::uint32_t type, std::uint32_t status) {
    const auto reply = ReadReply();
    ASSERT_TRUE(reply.has_value()) << "the server closed the pipe without a reply";
    EXPECT_TRUE(reply->ValidHeader());
    EXPECT_EQ(reply->messageType, type);
    EXPECT_EQ(reply->payloadLength, 0U);
    EXPECT_EQ(reply->status, status);
  }
  void ExpectClosed() { EXPECT_FALSE(ReadReply().has_value()); }

 private:
  HANDLE _pipe = INVALID_HANDLE_VALUE;
};
