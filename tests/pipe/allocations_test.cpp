/// How often the message thread asks for memory: what a request costs on any machine.
#include <atomic>
#include <cstdlib>
#include <new>

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
  Z7SvEventLog.reset(new OEventLog(OString(("Tagwright " + _pipeName).c_str()), 1));
  Serve([](const Tagwright::MessageHeader& request, const BYTE* payload,
           Tagwright::MessageHeader& reply) {
    t_isCounted = true;
    return Acknowledge(request, payload, reply);
  });
  _client.Expect(0, 0x200, "the first request makes what lasts");
  const std::pair<std::string, int> cases[] = {
      {"", 0}, {"job", 1}, {std::string(100'000, 'x'), 1}, {std::string(5'000'000, 'x'), 1}};
  for (const auto& [payload, allocations] : cases) {
    g_allocations = 0;
    for (int request = 0; request < 5; ++request) _client.Expect(0, 0x200, payload);
    EXPECT_EQ(g_allocations, 5 * allocations) << payload.size();
  }
}

}  // namespace
