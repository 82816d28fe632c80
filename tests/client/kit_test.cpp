/// The client library for drivers, against servers played by the test.
#include <gtest/gtest.h>

#include <string>
#include <tagwright/client.hpp>

#include "client/fake_server.h"

namespace {

std::string NameOf(const FakeServer& server) { return Tagwright::ToUtf8(server.Name()); }

/// The result of one encoding request, and of a second one behind it.
std::pair<tagwright_result, tagwright_result> SendTwice(const FakeServer& server,
                                                        std::uint32_t timeoutMs) {
  tagwright_client* client = nullptr;
  EXPECT_EQ(tagwright_connect(NameOf(server).c_str(), 0, &client), TAGWRIGHT_OK);
  std::uint32_t status = 0;
  const auto first = tagwright_send(client, TAGWRIGHT_ENCODE, "job", 3, timeoutMs, &status);
  const auto second = tagwright_send(client, TAGWRIGHT_ENCODE, "job", 3, timeoutMs, &status);
  tagwright_close(client);
  return {first, second};
}

TEST(Kit, SendsHeaderAndPayloadAndTakesRepliesInPieces) {
  std::string encode, add;
  FakeServer server([&](ServerEnd& end) {
    encode = end.Read(19);
    const std::string reply = HeaderBytes(0x200, 0, 200003);
    for (const std::string& piece : {reply.substr(0, 5), reply.substr(5)}) end.Write(piece);
    add = end.Read(21);
    end.Write(HeaderBytes(0x300, 0, 0));
  });
  tagwright::Client client(NameOf(server));
  const tagwright::Status status = client.Encode("job");
  EXPECT_STREQ(status.Name(), "eStatusEncodeFailed");
  EXPECT_FALSE(status.Succeeded());
  const std::string tooLong(TAGWRIGHT_MAX_PAYLOAD_BYTES + std::size_t{1}, 'x');
  EXPECT_THROW(client.Encode(tooLong), tagwright::Error) << "and nothing is sent";
  EXPECT_TRUE(client.AddEncoder("Pipe").Succeeded());
  EXPECT_EQ(encode, HeaderBytes(0x200, 3, 0) + "job");
  EXPECT_EQ(add, HeaderBytes(0x300, 5, 0) + std::string("Pipe\0", 5));
}

TEST(Kit, TellsWhatIsWrongAndClosesTheConnection) {
  for (const auto& [bytes, isWhole] : BadAnswersTo(TAGWRIGHT_ENCODE)) {
    FakeServer server([&answer = bytes](ServerEnd& end) {
      end.Read(19);
      end.Write(answer);
    });
    EXPECT_EQ(
        SendTwice(server, kAmpleMs),
        std::pair(isWhole ? TAGWRIGHT_BAD_REPLY : TAGWRIGHT_SERVER_GONE, TAGWRIGHT_NOT_CONNECTED))
        << testing::PrintToString(bytes);
  }
  FakeServer silent([](ServerEnd& end) {
    end.Read(19);
    end.WaitUntilClientLeaves();
  });
  EXPECT_EQ(SendTwice(silent, kShortMs), std::pair(TAGWRIGHT_TIMED_OUT, TAGWRIGHT_NOT_CONNECTED));
}

TEST(Kit, NamesWhyItDoesNotConnectOrStart) {
  tagwright_client* client = nullptr;
  EXPECT_EQ(tagwright_connect("kit-nobody-serves-this", kShortMs, &client), TAGWRIGHT_NO_PIPE);
  for (const char* name : {"", ".hidden", "a/b", "a b", "caf\xC3\xA9"}) {
    EXPECT_EQ(tagwright_connect(name, kAmpleMs, &client), TAGWRIGHT_BAD_NAME) << name;
  }
  FakeServer server([](ServerEnd& end) { end.WaitUntilClientLeaves(); });
  const tagwright::Client first(NameOf(server));
  EXPECT_EQ(tagwright_connect(NameOf(server).c_str(), 0, &client), TAGWRIGHT_PIPE_BUSY);
  EXPECT_NE(tagwright_system_error(), 0);
  EXPECT_EQ(client, nullptr);
  tagwright_process* process = nullptr;
  EXPECT_EQ(tagwright_start("no/such/program", "kit", TAGWRIGHT_SINGLE, &process),
            TAGWRIGHT_NO_PROGRAM);
}

}  // namespace
