/// How often a request, a job's document and a line of the log ask for memory: what they cost on
/// any machine.
#include <atomic>
#include <cstdlib>
#include <new>

#include "encode/zxp7_epc_gen2_encode.h"
#include "pipe/server_fixture.h"

namespace {

thread_local bool t_isCounted = false;
std::atomic<int> g_allocations{0};

}  // namespace

void* operator new(std::size_t size) {
  if (t_isCounted) ++g_allocations;
  if (void* const block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

TEST_F(ServerTest, ARequestAllocatesItsPayloadAndNothingElse) {
  _log.SetMask(0);
  Z7SvEventLog.reset(new OEventLog(OString(_source.c_str()), OEventLog::kApplicationLog));
  Serve([](const Tagwright::MessageHeader& request, const BYTE* payload,
           Tagwright::MessageHeader& reply) {
    t_isCounted = true;
    return Acknowledge(request, payload, reply);
  });
  _client.Expect(0, 0x200, "the first request makes what lasts");
  const std::pair<std::string, int> cases[] = {{"", 0},
                                               {"job", 1},
                                               {std::string(100'000, 'x'), 1},
                                               {std::string(Tagwright::kMaxPayloadBytes, 'x'), 1}};
  for (const auto& [payload, allocations] : cases) {
    g_allocations = 0;
    for (int request = 0; request < 5; ++request) _client.Expect(0, 0x200, payload);
    EXPECT_EQ(g_allocations, 5 * allocations) << payload.size();
  }
}

/// For each of ten times that `work` is done, after a first time that makes what lasts.
template <class Work>
int AllocationsOf(const Work& work) {
  constexpr int kTimes = 10;
  work();
  g_allocations = 0;
  t_isCounted = true;
  for (int time = 0; time < kTimes; ++time) work();
  t_isCounted = false;
  return g_allocations / kTimes;
}

TEST_F(ServerTest, ATextThatFitsIntoItsStringsRoomTakesNone) {
  const std::string full(31, 'x');
  OString text;
  EXPECT_EQ(AllocationsOf([&] {
              text = full.c_str();
              text = full.c_str() + 1;
              text << "x";
            }),
            0);
}

TEST_F(ServerTest, ALineOfTheLogIsMadeOfFewPieces) {
  const ProductLog file("Tagwright Costs");
  OEventLog log("Tagwright Costs", OEventLog::kApplicationLog);
  const OString text("PipeServer::ReadBytes: Called");
  EXPECT_LE(AllocationsOf([&] { log.LogInformationEvent(text, 0, LogLevel::kDetailInfo); }), 10);
  EXPECT_EQ(AllocationsOf([&] { log.IsLogEnabled(LogLevel::kCopyToDebugger); }), 0);

  // The last line of a process that has no memory any more.
  const OEventLog named(TEXT("Tagwright Costs"), OEventLog::kApplicationLog);
  g_allocations = 0;
  t_isCounted = true;
  named.LogLastError("out of memory");
  t_isCounted = false;
  EXPECT_EQ(g_allocations, 0);
}

TEST_F(ServerTest, AJobsDocumentAllocatesItsNodesAndTheirTexts) {
  Z7SvEventLog.reset();
  std::string job = "<zsdk_job>";
  for (int write = 0; write < 10; ++write) job += "<write segment='1' offset='0' data='E2004216'/>";
  job += "</zsdk_job>";
  const auto* const bytes = reinterpret_cast<const unsigned char*>(job.data());
  const int allocations =
      AllocationsOf([&] { ZXP7EpcGen2Encode(bytes, static_cast<DWORD>(job.size())); });
  EXPECT_LE(allocations, 45);
}

}  // namespace
