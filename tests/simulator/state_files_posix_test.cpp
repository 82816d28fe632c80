/// The simulator's files when nothing more can be written. The limit of a file's size stands in for
/// a full disk.
#include <cstdlib>
#include <filesystem>

#include "common/resource_limit.h"
#include "simulator/state_fixture.h"
#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

std::size_t FileCount() {
  const auto folder = std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / "simulator";
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

class StateFilesTest : public StateTest {};

TEST_F(StateFilesTest, AFullDiskLeavesTheOldTagAndNothingElse) {
  constexpr const WCHAR* kAddress = TEXT("FULL");
  SaveTag(kAddress, Tag());
  const std::string before = ReadStateFile(TagFilePath(kAddress)).value();
  const std::size_t files = FileCount();
  Tag written;
  written.WriteEpc({0x1111}, true);
  {
    const ResourceLimit limit(RLIMIT_FSIZE, 100);
    EXPECT_THAT(ProblemOf([&] { SaveTag(kAddress, written); }),
                testing::StartsWith("Cannot write"));
    EXPECT_FALSE(AppendToStateFile(StateFilePath("cards.jsonl"), std::string(99, 'x'), true) &&
                 AppendToStateFile(StateFilePath("cards.jsonl"), "second\n"));
  }
  DeleteFileW(StateFilePath("cards.jsonl").c_str());
  EXPECT_EQ(FileCount(), files);
  EXPECT_EQ(ReadStateFile(TagFilePath(kAddress)), before);
  DeleteFileW(TagFilePath(kAddress).c_str());
}

TEST_F(StateFilesTest, WhatWasCutShortStaysALineOfItsOwn) {
  const WideText path = StateFilePath("cards.jsonl");
  ASSERT_TRUE(AppendToStateFile(path, "first\n", true));
  {
    const ResourceLimit limit(RLIMIT_FSIZE, 10);
    EXPECT_FALSE(AppendToStateFile(path, "second\n"));
  }
  EXPECT_TRUE(AppendToStateFile(path, "third\n"));
  EXPECT_TRUE(AppendToStateFile(path, "fourth\n"));
  EXPECT_EQ(ReadStateFile(path), "first\nseco\nthird\nfourth\n");
}

}  // namespace
}  // namespace Simulator
