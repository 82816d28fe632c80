#include "client/client.h"

#include <gmock/gmock.h>

#include <vector>

#include "client/fake_server.h"

namespace {

using Tagwright::Client;
using Tagwright::ClientErrorKind;
using Tagwright::eEncode;
using Tagwright::eKeepAlive;

/// Short enough not to be noticed when it is meant to pass.
constexpr DWORD kShortTimeoutMs = 50;
/// Only a fault reaches it.
constexpr DWORD kAmpleTimeoutMs = 60000;

std::span<const std::uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(Client, SendsHeaderAndPayloadAndTakesRepliesInPieces) {
  std::string first;
  std::string second;
  FakeServer server([&](ServerEnd& end) {
    first = end.Read(19);
    const std::string reply = HeaderBytes(eEncode, 0, 200003);
    for (const std::string& piece : {reply.substr(0, 5), reply.substr(5, 5), reply.substr(10)}) {
      end.Write(piece);
    }
    second = end.Read(16);
    end.Write(HeaderBytes(eKeepAlive, 0, 0));
  });
  Client client(kAmpleTimeoutMs);
  ASSERT_FALSE(client.Connect(server.Name()));

  const Tagwright::SendResult encoded = client.Send(eEncode, Bytes("job"));
  ASSERT_FALSE(encoded.error);
  EXPECT_EQ(encoded.reply.status, Tagwright::eStatusEncodeFailed);
  EXPECT_EQ(first, HeaderBytes(eEncode, 3, 0) + "job");

  EXPECT_FALSE(client.Send(eKeepAlive).error);
  EXPECT_EQ(second, HeaderBytes(eKeepAlive, 0, 0));
}

TEST(Client, TellsWhatIsWrongWithAnAnswerAndClosesTheConnection) {
  const struct {
    const char* name;
    std::string answer;  ///< After which the server closes.
    ClientErrorKind expected;
  } kCases[] = {
      {"nothing", "", ClientErrorKind::kServerGone},
      {"short", HeaderBytes(eEncode, 0, 0).substr(0, 5), ClientErrorKind::kServerGone},
      {"bad magic", HeaderBytes(eEncode, 0, 0, "#@bk"), ClientErrorKind::kBadReply},
      {"other type", HeaderBytes(eKeepAlive, 0, 0), ClientErrorKind::kBadReply},
      {"payload announced", HeaderBytes(eEncode, 4, 0), ClientErrorKind::kBadReply},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    FakeServer server([&](ServerEnd& end) {
      end.Read(16);
      end.Write(test.answer);
    });
    Client client(kAmpleTimeoutMs);
    ASSERT_FALSE(client.Connect(server.Name()));
    const auto error = client.Send(eEncode).error;
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, test.expected);
    EXPECT_FALSE(client.IsConnected());
    EXPECT_EQ(client.Send(eEncode).error->kind, ClientErrorKind::kNotConnected);
  }
}

TEST(Client, GivesUpAfterTheTimeLimit) {
  FakeServer silent([](ServerEnd& end) {
    end.Read(16);
    end.WaitUntilClientLeaves();
  });
  Client waiting(kShortTimeoutMs);
  ASSERT_FALSE(waiting.Connect(silent.Name()));
  EXPECT_EQ(waiting.Send(eKeepAlive).error->kind, ClientErrorKind::kTimeout);
}

TEST(Client, GivesUpWritingToAServerThatDoesNotRead) {
  ScopedHandle clientLeft(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  FakeServer deaf([&](ServerEnd&) { WaitForSingleObject(clientLeft.Get(), INFINITE); });
  Client writing(kShortTimeoutMs);
  ASSERT_FALSE(writing.Connect(deaf.Name()));
  const std::string payload(Tagwright::kMaxPayloadBytes, 'x');
  const auto error = writing.Send(eEncode, Bytes(payload)).error;
  SetEvent(clientLeft.Get());
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind, ClientErrorKind::kTimeout);
}

TEST(Client, RefusesATooLongPayloadAndStaysInStep) {
  std::string received;
  FakeServer server([&](ServerEnd& end) {
    received = end.Read(16);
    end.Write(HeaderBytes(eKeepAlive, 0, 0));
  });
  Client client(kAmpleTimeoutMs);
  ASSERT_FALSE(client.Connect(server.Name()));
  const std::string payload(Tagwright::kMaxPayloadBytes + std::size_t{1}, 'x');
  EXPECT_EQ(client.Send(eEncode, Bytes(payload)).error->kind, ClientErrorKind::kPayloadTooLong);
  EXPECT_FALSE(client.Send(eKeepAlive).error);
  EXPECT_EQ(received, HeaderBytes(eKeepAlive, 0, 0));
}

TEST(Client, TellsAMissingPipeFromABusyOne) {
  Client client;
  const auto missing = client.Connect(Tagwright::FreshPipeName());
  ASSERT_TRUE(missing);
  EXPECT_EQ(missing->kind, ClientErrorKind::kPipeMissing);
  EXPECT_EQ(missing->systemError, DWORD{ERROR_FILE_NOT_FOUND});

  FakeServer server([](ServerEnd& end) { end.WaitUntilClientLeaves(); });
  Client first;
  ASSERT_FALSE(first.Connect(server.Name()));
  const auto busy = client.Connect(server.Name());
  ASSERT_TRUE(busy);
  EXPECT_EQ(busy->kind, ClientErrorKind::kPipeBusy);
}

}  // namespace
