/// Crashes of the heap's functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "common/dump_folder.h"
#include "support/thread_procedure.h"

namespace {

/// A pointer to nothing does not leave the heap locked: the thread's guard gets the crash.
TEST(HeapCrashes, OfWildPointersAreThrown) {
  const DumpFolder dumps;
  int* volatile wild = reinterpret_cast<int*>(0x7FFF0);
  void* volatile moved = nullptr;
  const std::function<void()> crashes[] = {
      [&] { std::free(wild); },
      [&] { delete wild; },
      [&] { moved = std::realloc(wild, 1); },
      [&] { const std::unique_ptr<int> owner(wild); },
  };
  OExceptionHandler handler("Worker::Run", kThreadHandlerFlags);
  for (const auto& crash : crashes) {
    SetLastError(0);
    EXPECT_FALSE(RunGuarded(handler, crash));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_ADDRESS);
  }
  EXPECT_FALSE(DumpFolder::Content(DumpFolder::Path("bkcrash_0003.dmp")).empty());
}

}  // namespace
