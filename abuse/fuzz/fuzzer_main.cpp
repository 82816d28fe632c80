/// libFuzzer's entries: the variable TAGWRIGHT_FUZZ_TARGET names the target. The process has a
/// state root of its own.
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "common/test_root.h"
#include "fuzz/fuzz_target.h"

namespace {

const Fuzz::Target* g_target = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static const TestRoot root;
  const char* const name = std::getenv("TAGWRIGHT_FUZZ_TARGET");
  g_target = Fuzz::FindTarget(name != nullptr ? name : "");
  if (g_target == nullptr) {
    std::fprintf(stderr, "TAGWRIGHT_FUZZ_TARGET names no target\n");
    std::exit(2);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t sizeBytes) {
  // A mebibyte may take a second; this is for 64 KiB, and sanitizers take about ten times as long.
  constexpr std::clock_t kMaxSeconds = 2;
  const std::clock_t start = std::clock();
  g_target->run({bytes, sizeBytes});
  Fuzz::Require(std::clock() - start < kMaxSeconds * CLOCKS_PER_SEC, "no input takes long");
  return 0;
}
