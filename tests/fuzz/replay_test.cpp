/// The corpus of the fuzzer's targets, with every input that once found a fault: each runs to its
/// end, and so does the same input repeated up to a mebibyte, within a second of the processor's
/// time.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace {

constexpr std::size_t kLongInputBytes = std::size_t{1} << 20U;
/// Of the processor; more with sanitizers.
constexpr double kMaxSeconds = TAGWRIGHT_FUZZ_MAX_SECONDS;

using Content = std::vector<std::uint8_t>;

Content Load(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Content RepeatedToLength(const Content& content) {
  Content repeated(kLongInputBytes);
  for (std::size_t i = 0; i < repeated.size(); ++i) repeated[i] = content[i % content.size()];
  return repeated;
}

double ProcessorSecondsOf(const Fuzz::Target& target, const Content& input) {
  const std::clock_t start = std::clock();
  target.run(input);
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

class FuzzCorpus : public testing::TestWithParam<Fuzz::Target> {};

TEST_P(FuzzCorpus, RunsToItsEndInTime) {
  const auto folder = std::filesystem::path(TAGWRIGHT_FUZZ_CORPUS) / GetParam().name;
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(entry.path().filename());
    const Content content = Load(entry.path());
    ASSERT_FALSE(content.empty());
    EXPECT_LT(ProcessorSecondsOf(GetParam(), content), kMaxSeconds);
    EXPECT_LT(ProcessorSecondsOf(GetParam(), RepeatedToLength(content)), kMaxSeconds);
    ++inputs;
  }
  EXPECT_GT(inputs, 0);
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzCorpus, testing::ValuesIn(Fuzz::Targets()),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
