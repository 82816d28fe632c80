/// What tagwrightctl makes of replies and lost connections, against servers played by the test.
#include <gmock/gmock.h>

#include <atomic>
#include <memory>

#include "client/ctl/job_list.h"
#include "client/ctl/side_by_side.h"
#include "client/fake_server.h"

namespace {

using Ctl::ExitCode;
using testing::AllOf;
using testing::HasSubstr;

constexpr std::size_t kHeaderBytes = 16;

/// Jobs without payload: what counts here is what comes back.
std::vector<Ctl::Request> Jobs(std::size_t count) {
  std::vector<Ctl::Request> jobs(count);
  for (Ctl::Request& job : jobs) job = {"job", Tagwright::eEncode, {}};
  return jobs;
}

/// A server that answers one request with each status and then goes away.
class Answers : public FakeServer {
 public:
  explicit Answers(std::vector<std::uint32_t> statuses)
      : FakeServer([statuses = std::move(statuses)](ServerEnd& end) {
          for (const std::uint32_t status : statuses) {
            end.Read(kHeaderBytes);
            end.Write(HeaderBytes(Tagwright::eEncode, 0, status));
          }
          end.Read(kHeaderBytes);
        }) {}
};

std::unique_ptr<Tagwright::Client> ConnectTo(const FakeServer& server) {
  auto client = std::make_unique<Tagwright::Client>();
  EXPECT_FALSE(client->Connect(server.Name()));
  return client;
}

TEST(SendInOrder, GoesOnAfterARefusalAndTheFirstFailureDecides) {
  const struct {
    std::vector<std::uint32_t> statuses;
    ExitCode expected;
    bool connectedAfterwards;
  } kCases[] = {
      {{0, 0, 0}, ExitCode::kSuccess, true},
      {{0, 200003, 0}, ExitCode::kRefused, true},
      {{0}, ExitCode::kServerGone, false},
      {{200003}, ExitCode::kRefused, false},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(testing::PrintToString(test.statuses));
    Answers server(test.statuses);
    const auto client = ConnectTo(server);
    EXPECT_EQ(Ctl::SendInOrder(*client, Jobs(3), true), test.expected);
    EXPECT_EQ(client->IsConnected(), test.connectedAfterwards);
  }
}

TEST(SendSideBySide, GivesTheJobsOfALostPipeToTheOthers) {
  constexpr std::size_t kJobCount = 6;
  std::atomic<std::size_t> served = 0;
  ScopedHandle oneIsGone(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  // The other pipe answers nothing before the first is lost, so that both have taken a job.
  FakeServer leaving([&](ServerEnd& end) {
    end.Read(kHeaderBytes);
    SetEvent(oneIsGone.Get());
  });
  FakeServer staying([&](ServerEnd& end) {
    while (end.Read(kHeaderBytes).size() == kHeaderBytes) {
      WaitForSingleObject(oneIsGone.Get(), INFINITE);
      ++served;
      end.Write(HeaderBytes(Tagwright::eEncode, 0, 0));
    }
  });
  std::vector<std::unique_ptr<Tagwright::Client>> encoders;
  encoders.push_back(ConnectTo(leaving));
  encoders.push_back(ConnectTo(staying));
  EXPECT_EQ(Ctl::SendSideBySide(encoders, Jobs(kJobCount)), ExitCode::kServerGone);
  EXPECT_EQ(served, kJobCount - 1);
}

TEST(Describe, NamesStatusesAndGivesUnknownOnesAsTheyAre) {
  Ctl::Exchange exchange;
  exchange.duration = std::chrono::microseconds(12340);
  exchange.result.reply.status = 200005;
  EXPECT_EQ(Ctl::Describe(exchange), "eStatusPipeCreateFailed (200005), 12.3 ms");
  exchange.result.reply.status = 7;
  EXPECT_EQ(Ctl::Describe(exchange), "status 7, 12.3 ms");
}

TEST(ConnectOrFail, TellsScriptsAndPeopleWhy) {
  Tagwright::Client client;
  try {
    Ctl::ConnectOrFail(client, Tagwright::ToUtf8(Tagwright::FreshPipeName()));
    FAIL() << "connected to a pipe that is not there";
  } catch (const Ctl::Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kNoPipe);
    EXPECT_THAT(failure.what(), AllOf(HasSubstr("no such pipe"), HasSubstr("system error 2")));
  }
}

}  // namespace
