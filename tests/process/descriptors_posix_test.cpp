// A control process that may have few descriptors.
#include <sys/resource.h>

#include <algorithm>

#include "process/control_fixture.h"

namespace {

class Descriptors : public ControlTest {
 protected:
  void SetUp() override {
    _log.SetMask(0);  // Its hundreds of lines are not looked at.
    StartController();
  }
  void LimitTo(rlim_t count) const {
    const rlimit few{count, count};
    ASSERT_EQ(prlimit(static_cast<pid_t>(_tagwright.Id()), RLIMIT_NOFILE, &few, nullptr), 0);
  }
  std::ptrdiff_t Count(const char* what = "fd") const {
    return std::distance(std::filesystem::directory_iterator(OwnFolder() / what), {});
  }
  std::ptrdiff_t CountMappings() const {
    const std::string mappings = ReadWholeFile(OwnFolder() / "maps");
    return std::ranges::count(mappings, '\n');
  }
  std::filesystem::path OwnFolder() const { return "/proc/" + std::to_string(_tagwright.Id()); }
  void StartAndEndEncoders(int count) {
    for (int number = 0; number < count; ++number) {
      PipeClient& encoder = AddEncoder();
      encoder.Expect(200002, 0x301);
      encoder.Expect(0, 0x100);
      encoder.Close();
    }
  }
};

TEST_F(Descriptors, EndedEncodersKeepFewAndLittleMemoryWhenThereArePlenty) {
  StartAndEndEncoders(1);
  const auto threads = Count("task");
  const auto descriptors = Count();
  const auto mappings = CountMappings();
  constexpr int kEncoders = 200;
  StartAndEndEncoders(kEncoders);
  _tagwright.Await([&] { return Count("task") <= threads; });  // Each has a stack.
  EXPECT_LT(Count(), descriptors + 80);
  // What each kept would be one mapping at least; the C library keeps some stacks and heaps.
  EXPECT_LT(CountMappings(), mappings + kEncoders);
}

TEST_F(Descriptors, EndedEncodersNeedNone) {
  LimitTo(128);
  StartAndEndEncoders(500);
  _client.Expect(200005, 0x300, Name(0));
  ShutDown();
}

TEST_F(Descriptors, WhoHasAPipeIsServed) {
  LimitTo(128);
  for (std::uint32_t status = 0; status == 0;) {
    const std::string name = Name(static_cast<int>(_encoders.size()));
    const auto reply = _client.Ask(0x300, name);
    ASSERT_TRUE(reply.has_value());
    status = reply->status;
    if (status == 0) _encoders.emplace_back().Connect(name.substr(0, name.size() - 1));
  }
  EXPECT_GT(_encoders.size(), 40U);
  for (PipeClient& encoder : _encoders) encoder.Expect(200002, 0x301);
  for (PipeClient& encoder : _encoders) encoder.Close();
  _client.Expect(0, 0x302);
}

}  // namespace
