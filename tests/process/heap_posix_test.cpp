/// Crashes inside the heap, whose lock nobody gets any more.
#include "process/crash_fixture.h"

namespace {

TEST_F(FatalCrashTest, InsideTheHeap) {
  ExpectFatalCrash("corrupt the heap", SystemText(ERROR_UNIDENTIFIED_ERROR));
  ExpectFatalCrash("overflow while allocating", SystemText(ERROR_STACK_OVERFLOW));
  const auto events = ReadWholeFile(std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) /
                                    "eventlog/Application.jsonl");
  const auto event = nlohmann::json::parse(events.substr(events.rfind("\n", events.size() - 2) + 1),
                                           nullptr, false);
  EXPECT_FALSE(event.is_discarded()) << events;
}

}  // namespace
