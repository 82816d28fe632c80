/// Threads that cannot be started, for want of address space.
#include <sys/resource.h>

#include <cstdio>
#include <optional>
#include <vector>

#include "pipe/server_fixture.h"
#include "service/tagwright_controller.h"
#include "support/scoped_handle.h"

namespace {

unsigned __stdcall WaitFor(void* event) { return WaitForSingleObject(event, INFINITE); }

/// While it lives, the process can start no thread: its address space is limited, and threads of
/// the test's own have taken the stacks that the C library keeps for the next ones.
class NoRoomForStacks {
 public:
  NoRoomForStacks() {
    getrlimit(RLIMIT_AS, &_before);
    unsigned long pages = 0;
    std::FILE* const sizes = std::fopen("/proc/self/statm", "r");
    EXPECT_EQ(std::fscanf(sizes, "%lu", &pages), 1);
    std::fclose(sizes);
    rlimit limit = _before;
    limit.rlim_cur = pages * 4096 + kSpareBytes;
    setrlimit(RLIMIT_AS, &limit);
    while (const auto thread = _beginthreadex(nullptr, 0, WaitFor, _end.Get(), 0, nullptr)) {
      _threads.emplace_back(reinterpret_cast<HANDLE>(thread));
    }
  }
  ~NoRoomForStacks() {
    setrlimit(RLIMIT_AS, &_before);
    SetEvent(_end.Get());
    for (const ScopedHandle& thread : _threads) WaitForSingleObject(thread.Get(), INFINITE);
  }

 private:
  static constexpr rlim_t kSpareBytes = 256 * 1024;
  rlimit _before{};
  ScopedHandle _end{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
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

}  // namespace
