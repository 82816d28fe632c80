/// The simulator's files when nothing more can be written. The limit of a file's size stands in for
/// a full disk.
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "simulator/state_fixture.h"
#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

/// No file may become longer than that while it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : _signal(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &_before);
    const rlimit limit{bytes, _before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &_before);
    std::signal(SIGXFSZ, _signal);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit _before{};
  void (*_signal)(int);
};

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
    const FileSizeLimit limit(100);
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
    const FileSizeLimit limit(10);
    EXPECT_FALSE(AppendToStateFile(path, "second\n"));
  }
  EXPECT_TRUE(AppendToStateFile(path, "third\n"));
  EXPECT_TRUE(AppendToStateFile(path, "fourth\n"));
  EXPECT_EQ(ReadStateFile(path), "first\nseco\nthird\nfourth\n");
}

}  // namespace
}  // namespace Simulator
