/// Threads that cannot be started, for want of address space.
#include <fstream>
#include <optional>
#include <vector>

#include "common/resource_limit.h"
#include "host/end_deadline.h"
#include "pipe/server_fixture.h"
#include "service/tagwright_controller.h"
#include "support/thread_start.h"

namespace {

/// While it lives, the process can start no thread: its address space is limited, and threads of
/// the test's own have taken the stacks that the C library keeps for the next ones.
class NoRoomForStacks {
 public:
  NoRoomForStacks() {
    while (const HANDLE thread = StartThread(WaitFor, _end.Get())) _threads.emplace_back(thread);
  }
  ~NoRoomForStacks() {
    SetEvent(_end.Get());
    for (const ScopedHandle& thread : _threads) WaitForSingleObject(thread.Get(), INFINITE);
  }

 private:
  static unsigned __stdcall WaitFor(void* event) { return WaitForSingleObject(event, INFINITE); }
  static rlim_t AddressSpaceBytes() {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * 4096;
  }

  static constexpr rlim_t kSpareBytes = 256 * 1024;
  const ScopedHandle _end{CreateManualResetEvent()};
  const ResourceLimit _limit{RLIMIT_AS, AddressSpaceBytes() + kSpareBytes};
  std::vector<ScopedHandle> _threads;
};

using ThreadStartTest = ServerTest;

TEST_F(ThreadStartTest, AnEncoderWithoutItsThreadLeavesALine) {
  Create<TagwrightController>(OString(_pipeName.c_str()));
  StartAndConnect();
  _client.Expect(0, 0x302);
  const NoRoomForStacks noRoom;
  _client.Expect(0, 0x300, UniquePipeName());
  EXPECT_TRUE(_log.Has("PipeServer::StartProcessMessageThread: Couldn't start message thread"));
}

TEST_F(ThreadStartTest, AServerWithoutItsConnectionThreadEnds) {
  std::optional<NoRoomForStacks> noRoom;
  LogHooked("WaitClientConnection: Enter. Timeout: 0x00000001", [&] { noRoom.emplace(); });
  auto& server = Create<ScriptedServer>(_pipeName, Acknowledge);
  ASSERT_TRUE(server.StartProcessMessageThread(1));
  EXPECT_EQ(WaitForEnd(), PipeServer::kMessageThreadEnded);
  EXPECT_TRUE(_log.Has("PipeServer::WaitClientConnection: Couldn't start connnect thread"));
}

TEST_F(ThreadStartTest, AProcessWithoutItsEndDeadlineStartsWithoutDelay) {
  const NoRoomForStacks noRoom;
  const DWORD startMs = GetTickCount();
  StartEndDeadline(kLongMs);
  constexpr DWORD kWaitForItsThreadMs = 5000;
  EXPECT_LT(GetTickCount() - startMs, kWaitForItsThreadMs);
}

}  // namespace
