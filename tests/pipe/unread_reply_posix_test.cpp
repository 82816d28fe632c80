/// A client that does not read its replies. (On Windows a server waits in the write of each of
/// them.)
#include <atomic>
#include <ctime>
#include <fstream>
#include <string>

#include "pipe/server_fixture.h"
#include "support/thread_start.h"

namespace {

using UnreadReplyTest = ServerTest;

TEST_F(UnreadReplyTest, HoldsNobodyUpWhoWasShutDown) {
  const ScopedHandle entered(CreateManualResetEvent()), leave(CreateManualResetEvent());
  Serve([&](const auto& request, const BYTE*, auto&) {
    if (request.messageType != 0x100) return true;
    SetEvent(entered.Get());
    WaitForSingleObject(leave.Get(), INFINITE);
    return false;
  });
  _client.Send(0x302);
  _client.Send(0x100);
  ASSERT_EQ(WaitForSingleObject(entered.Get(), kLongMs), WAIT_OBJECT_0);
  _server->Shutdown();
  SetEvent(leave.Get());
  EXPECT_EQ(WaitForEnd(), PipeServer::kShutdownSignaled);
  EXPECT_FALSE(_log.Mentions("Calling TerminateThread"));
}

/// What lies at `address` in this process, whether it is still allocated or not; "" when it is not
/// even mapped.
std::string MemoryAt(const void* address, std::size_t size) {
  std::string bytes(size, '\0');
  std::ifstream memory("/proc/self/mem");
  memory.seekg(static_cast<std::streamoff>(reinterpret_cast<std::uintptr_t>(address)));
  memory.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<std::size_t>(memory.gcount()));
  return bytes;
}

TEST_F(UnreadReplyTest, FindsThePayloadWiped) {
  std::atomic<const BYTE*> payload{nullptr};
  Serve([&](const auto&, const BYTE* bytes, auto&) {
    payload = bytes;
    return false;
  });
  const std::string secret(1024 * 1024, 'S');
  ASSERT_EQ(MemoryAt(secret.data(), secret.size()), secret);
  _client.Send(0x201, secret);
  // The rest of the reply is not read, so that the server waits for its delivery.
  char first = 0;
  ASSERT_NO_FATAL_FAILURE(_client.ReadBytes(&first, 1));
  EXPECT_EQ(MemoryAt(payload, secret.size()).find("SSSSSSSS"), std::string::npos);
  constexpr DWORD kLongerThanTheWayToTheEndMs = 100;
  EXPECT_EQ(_server->WaitForMultipeObjectsOrPipeTermination(0, nullptr, kLongerThanTheWayToTheEndMs,
                                                            kLongMs),
            PipeServer::kWaitTimedOut);
}

/// The pipe of a client that has gone is looked at twice a second, and not all the time.
TEST_F(UnreadReplyTest, OfAClientThatHasGoneCostsNoTime) {
  Serve(Acknowledge);
  _client.Expect(0, 0x302);
  _client.Close();
  // The processor's time, of which other programs take none.
  const std::clock_t before = std::clock();
  constexpr DWORD kTwoLooksMs = 1000;
  Sleep(kTwoLooksMs);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 50);
}

}  // namespace
