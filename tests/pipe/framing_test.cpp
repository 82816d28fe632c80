/// Requests as they come over the wire: in pieces, damaged, cut off, too long.
#include <gmock/gmock.h>

#include <atomic>
#include <cstring>

#include "pipe/server_fixture.h"

namespace {

using Tagwright::MessageHeader;

class FramingTest : public ServerTest {
 protected:
  using Request = std::pair<std::uint32_t, std::string>;

  void ServeAndRecord() {
    Serve([this](const MessageHeader& request, const BYTE* payload, MessageHeader& reply) {
      EXPECT_EQ(payload == nullptr, request.payloadLength == 0);
      _requests.emplace_back(request.messageType,
                             std::string(payload, payload + request.payloadLength));
      return Acknowledge(request, payload, reply);
    });
  }

  std::vector<Request> _requests;
};

TEST(MessageHeaderTest, OnlyTheExactMagicIsValid) {
  const MessageHeader fresh;
  EXPECT_EQ(std::memcmp(&fresh, "#@BK\0\0\0\0\0\0\0\0\0\0\0\0", 16), 0);
  for (const char* magic : {"#@bk", "#@BJ", "#aBK", "\0@BK", "@#KB"}) {
    MessageHeader header;
    std::memcpy(header.magic.data(), magic, 4);
    EXPECT_FALSE(header.ValidHeader()) << magic;
  }
}

TEST_F(FramingTest, JoinsPieces) {
  ServeAndRecord();
  const MessageHeader header = Header(0x200, 6);
  const auto message =
      std::string(reinterpret_cast<const char*>(&header), sizeof header) + "<job/>";
  for (const auto& [at, size] : {std::pair{0U, 5U}, {5, 5}, {10, 6}, {16, 3}, {19, 3}}) {
    _client.SendPiece(&message[at], size);
  }
  _client.ExpectReply(0x200, 0);
  // Two headers in one write come apart again. (Two requests with a reply each would not do: a pipe
  // without buffers holds the writer until all is read, so the first reply would find nobody.)
  MessageHeader two[] = {Header(0x301), Header(0x302)};
  two[0].magic[0] = '!';
  _client.SendBytes(two, sizeof(two));
  _client.ExpectReply(0x302, 0);
  StopServer();
  EXPECT_THAT(_requests, testing::ElementsAre(Request{0x200, "<job/>"}, Request{0x302, ""}));
  EXPECT_EQ(_log.Count("PipeServer::ProcessMessages: Invalid header"), 1);
  EXPECT_EQ(_log.Mentions("Errors, Thread"), 1);
}

TEST_F(FramingTest, RefusesAnAbsurdLengthAndStaysInStep) {
  ServeAndRecord();
  const std::uint32_t tooMuch = Tagwright::kMaxPayloadBytes + 1;
  _client.SendHeader(Header(0x200, tooMuch));
  _client.SendBytes(std::string(tooMuch, 'x').data(), tooMuch);
  _client.Expect(0, 0x302);
  StopServer();
  EXPECT_THAT(_requests, testing::ElementsAre(Request{0x302, ""}));
  EXPECT_EQ(_log.Count("PipeServer::ProcessMessages: Payload error"), 1);
}

TEST_F(FramingTest, APayloadCutOffByTheClientsEndIsNoRequest) {
  ServeAndRecord();
  _client.Expect(0, 0x302);  // The server is in its loop.
  _client.SendHeader(Header(0x200, 100));
  _client.SendBytes("<zsdk_job>", 10);
  _client.Close();
  // The server goes on asking its pipe for the rest until it is told to stop, and then is silent.
  StopServer();
  EXPECT_THAT(_requests, testing::ElementsAre(Request{0x302, ""}));
  EXPECT_EQ(_log.Count("Payload error"), 0);
  EXPECT_EQ(_log.Count("PipeServer::ProcessMessages: Thread exit"), 1);
}

std::atomic<int> g_activity = 0;

TEST_F(FramingTest, EveryCompleteHeaderIsActivity) {
  g_activity = 0;
  ScriptedServer source(UniquePipeName(), Acknowledge);
  source.SetOnActivityCallback([] { ++g_activity; });
  auto& server = Create<ScriptedServer>(_pipeName, Acknowledge);
  server.SetOnActivityCallback(&source);
  source.ClearOnActivityCallback();
  StartAndConnect();
  MessageHeader damaged = Header(1);
  damaged.magic[0] = 0;
  _client.SendHeader(damaged);
  _client.Expect(0, 0x302);
  EXPECT_EQ(g_activity, 2);
  _client.SendBytes("#@BK", 4);  // An incomplete header is none.
  StopServer();
  EXPECT_EQ(g_activity, 2);
}

}  // namespace
