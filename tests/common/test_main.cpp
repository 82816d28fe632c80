/// Entry of every test program: a state root of its own, gone when the tests are through. The same
/// program also plays the victims that its tests start.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/test_root.h"
#include "common/victim.h"

int main(int argc, char** argv) {
  if (const auto exitCode = VictimRole::Play(argc, argv)) return *exitCode;
  testing::InitGoogleMock(&argc, argv);
  TestRoot root;
  return RUN_ALL_TESTS();
}
