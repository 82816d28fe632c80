/// Crashes inside the heap or the loader, whose lock nobody gets any more.
#include "process/crash_fixture.h"

namespace {

TEST_F(FatalCrashTest, InsideTheHeap) {
  ExpectFatalCrash("free twice", SystemText(ERROR_UNIDENTIFIED_ERROR));
  ExpectFatalCrash("overflow while allocating", SystemText(ERROR_STACK_OVERFLOW));
  const auto events = ReadWholeFile(std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) /
                                    "eventlog/Application.jsonl");
  const auto report = events.find("Caught in [");
  const auto start = events.rfind('\n', report) + 1;
  const auto event = nlohmann::json::parse(events.substr(start, events.find('\n', report) - start));
  EXPECT_EQ(event["source"], "Brennick Tagwright.Native");
  EXPECT_EQ(event["type"], "Error");
  EXPECT_EQ(event["event_id"], "0xCFFF0300");
  EXPECT_EQ(event["data"].get<std::string>().size(), 2 * 56U);
}

TEST_F(FatalCrashTest, WhileTheComponentIsLoaded) {
  ExpectFatalCrash("anything", SystemText(ERROR_INVALID_ADDRESS), "stillborn\\tagwright");
}

}  // namespace
