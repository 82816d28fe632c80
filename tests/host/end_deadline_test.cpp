/// The last resort at the end of the process.
#include "host/end_deadline.h"

#include <gtest/gtest.h>

#include <atomic>

#include "common/victim.h"
#include "host/process_state.h"
#include "support/scoped_handle.h"

namespace {

const std::string kBeginsToEnd = "begins-to-end";

/// Anything but kBeginsToEnd is the name of a mutex that it owns until it is gone.
const VictimRole kNeverEnds("never-ends", [](VictimSide& side, const std::string& argument) -> int {
  StartEndDeadline(100);
  CreateMutexW(nullptr, TRUE, Widen(argument).c_str());
  if (argument == kBeginsToEnd) ShutdownTagwrightServer();
  side.Ready();
  for (std::atomic<unsigned> turns{0};; ++turns) {
  }
});

const VictimRole kStarter("starter", [](VictimSide& side, const std::string& mutexName) {
  Victim neverEnds("never-ends", mutexName);
  neverEnds.WaitUntilReady();
  side.Ready();
  side.WaitUntilReleased();
  return 0;
});

TEST(EndDeadlineTest, AProcessWhoseEndOrWhoseParentsEndHasBegunIsGoneInTime) {
  const auto name = UniqueName(TEXT("end-deadline-"));
  Victim starter("starter", std::string(name.begin(), name.end()));
  starter.WaitUntilReady();
  EXPECT_EQ(Victim("never-ends", kBeginsToEnd).ExitCode(), 0U);

  const ScopedHandle owned(CreateMutexW(nullptr, FALSE, name.c_str()));
  ASSERT_EQ(WaitForSingleObject(owned.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
  starter.Kill();
  EXPECT_EQ(WaitForSingleObject(owned.Get(), 60000), static_cast<DWORD>(WAIT_ABANDONED));
}

TEST(EndDeadlineTest, ComesWhenDriversAreToldThatItComes) {
  EXPECT_EQ(kMaxEndMs, 12'000U);
  EXPECT_EQ(kMaxControlEndMs, 22'000U);
}

}  // namespace
