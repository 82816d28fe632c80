#include "simulator/component/crash.h"

#include <cstddef>

namespace Simulator {
namespace {

// Volatile, so that the compiler neither leaves a crash out nor replaces it by a trap of its own.
int* volatile nowhere = nullptr;
volatile int one = 1;
volatile int zero = 0;
volatile int sink = 0;
volatile bool enough = false;

int Deeper(int depth) {
  constexpr std::size_t kFrameBytes = 4096;
  volatile char frame[kFrameBytes];
  frame[0] = static_cast<char>(depth);
  if (enough) return frame[0];
  return Deeper(depth + 1) + frame[0];
}

void ThrowIfEnough() {
  if (enough) throw 0;
}

struct Local {
  ~Local() { sink = 0; }
};

[[gnu::noinline]] void CrashBesideADestructor() {
  const Local local;
  ThrowIfEnough();
  sink = *nowhere;
  ThrowIfEnough();
}

}  // namespace

void CrashByReading() { sink = *nowhere; }

void CrashByDividing() { sink = one / zero; }

void CrashByIllegalInstruction() { __builtin_trap(); }

void CrashByStackOverflow() { sink = Deeper(0); }

void CrashUnderNoexcept() noexcept { CrashBesideADestructor(); }

}  // namespace Simulator
