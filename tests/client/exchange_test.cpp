/// What tagwrightctl makes of replies and lost connections, against servers played by the test.
#include <gmock/gmock.h>

#include <atomic>
#include <memory>

#include "client/ctl/job_list.h"
#include "client/ctl/side_by_side.h"
#include "client/fake_server.h"

namespace {

using Ctl::ExitCode;

constexpr std::size_t kHeaderBytes = 16;

/// Jobs without payload: what counts here is what comes back.
std::vector<Ctl::Request> Jobs(std::size_t count) {
  std::vector<Ctl::Request> jobs(count);
  for (Ctl::Request& job : jobs) job = {"job", Tagwright::eEncode, {}, {}};
  return jobs;
}

std::unique_ptr<Tagwright::Client> ConnectTo(const FakeServer& server) {
  auto client = std::make_unique<Tagwright::Client>();
  EXPECT_FALSE(client->Connect(server.Name()));
  return client;
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
  Ctl::JobOutput output({}, kJobCount);
  Ctl::SendSideBySide(encoders, Jobs(kJobCount), output);
  EXPECT_EQ(output.Summarize(), ExitCode::kServerGone);
  EXPECT_EQ(served, kJobCount - 1);
}

}  // namespace
