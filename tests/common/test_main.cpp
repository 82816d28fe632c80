/// Entry of every test program: a state root of its own, gone when the tests are through.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/test_root.h"

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  TestRoot root;
  return RUN_ALL_TESTS();
}
