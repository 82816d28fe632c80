/// The last resort at the end of the process.
#include "host/end_deadline.h"

#include <gtest/gtest.h>

#include <atomic>

#include "common/victim.h"

namespace {

const VictimRole kNeverEnds("never-ends", [](VictimSide& side, const std::string& ends) -> int {
  StartEndDeadline(100);
  if (ends == "begins to end") BeginEnd();
  side.Ready();
  for (std::atomic<unsigned> turns{0};; ++turns) {
  }
});

TEST(EndDeadlineTest, AProcessWhoseEndHasBegunIsGoneInTimeAndNoOther) {
  Victim serves("never-ends", "serves");
  serves.WaitUntilReady();
  EXPECT_EQ(Victim("never-ends", "\"begins to end\"").ExitCode(), 0U);
  EXPECT_EQ(WaitForSingleObject(serves.Handle(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

}  // namespace
