/// A test with the simulator's folder to itself: what it leaves there is taken away.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "simulator/tag/state_files.h"

namespace Simulator {

class StateTest : public testing::Test {
 protected:
  ~StateTest() override {
    for (const char* name : {"faults.json", "fault_counts.json", "printers.json", "cards.jsonl",
                             "card.json", "addresses.txt"}) {
      DeleteFileW(StateFilePath(name).c_str());
    }
  }

  static void Write(const char* name, const std::string& text) {
    ReplaceStateFile(StateFilePath(name), text);
  }
  /// The message of what `work` throws.
  template <class Work>
  static std::string ProblemOf(Work work) {
    try {
      work();
      return "nothing is thrown";
    } catch (const std::runtime_error& problem) {
      return problem.what();
    }
  }
};

}  // namespace Simulator
