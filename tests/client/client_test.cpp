#include "client/client.h"

#include <gtest/gtest.h>

#include "client/fake_server.h"

namespace {

using Tagwright::Client;
using Tagwright::ClientErrorKind;
using Tagwright::eEncode;
using Tagwright::eKeepAlive;

std::span<const std::uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(Client, SendsHeaderAndPayloadAndTakesRepliesInPieces) {
  std::string first, second;
  FakeServer server([&](ServerEnd& end) {
    first = end.Read(19);
    const std::string reply = HeaderBytes(eEncode, 0, 200003);
    for (const std::string& piece : {reply.substr(0, 5), reply.substr(5, 5), reply.substr(10)}) {
      end.Write(piece);
    }
    second = end.Read(16);
    end.Write(HeaderBytes(eKeepAlive, 0, 0));
  });
  Client client(kAmpleMs);
  ASSERT_FALSE(client.Connect(server.Name()));
  EXPECT_EQ(client.ServerProcessId(), GetCurrentProcessId());

  const Tagwright::SendResult encoded = client.Send(eEncode, Bytes("job"));
  ASSERT_FALSE(encoded.error);
  EXPECT_EQ(encoded.reply.status, Tagwright::eStatusEncodeFailed);
  EXPECT_EQ(first, HeaderBytes(eEncode, 3, 0) + "job");

  // A payload that is too long is not sent, so that both stay in step.
  const std::string payload(Tagwright::kMaxPayloadBytes + std::size_t{1}, 'x');
  EXPECT_EQ(client.Send(eEncode, Bytes(payload)).error->kind, ClientErrorKind::kPayloadTooLong);
  EXPECT_FALSE(client.Send(eKeepAlive).error);
  EXPECT_EQ(second, HeaderBytes(eKeepAlive, 0, 0));
}

TEST(Client, TellsWhatIsWrongWithAnAnswerAndClosesTheConnection) {
  for (const auto& [bytes, isWhole] : BadAnswersTo(eEncode)) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    FakeServer server([&answer = bytes](ServerEnd& end) {
      end.Read(16);
      end.Write(answer);
    });
    Client client(kAmpleMs);
    ASSERT_FALSE(client.Connect(server.Name()));
    const auto error = client.Send(eEncode).error;
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, isWhole ? ClientErrorKind::kBadReply : ClientErrorKind::kServerGone);
    EXPECT_FALSE(client.IsConnected());
    EXPECT_EQ(client.Send(eEncode).error->kind, ClientErrorKind::kNotConnected);
  }
}

TEST(Client, GivesUpOnAServerThatNeitherReadsNorAnswers) {
  ScopedHandle clientLeft(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  FakeServer deaf([&](ServerEnd&) { WaitForSingleObject(clientLeft.Get(), INFINITE); });
  FakeServer silent([](ServerEnd& end) {
    end.Read(16);
    end.WaitUntilClientLeaves();
  });
  const std::string payload(Tagwright::kMaxPayloadBytes, 'x');
  for (const auto& [server, bytes] : {std::pair{&deaf, Bytes(payload)}, {&silent, Bytes("")}}) {
    Client client(kShortMs);
    ASSERT_FALSE(client.Connect(server->Name()));
    const auto error = client.Send(eEncode, bytes).error;
    SetEvent(clientLeft.Get());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, ClientErrorKind::kTimeout);
  }
}

}  // namespace
