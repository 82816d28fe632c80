// A control process that may have few descriptors.
#include <sys/resource.h>

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
  std::ptrdiff_t Count() const {
    const std::filesystem::path folder = "/proc/" + std::to_string(_tagwright.Id()) + "/fd";
    return std::distance(std::filesystem::directory_iterator(folder), {});
  }
  void StartAndEndEncoders(int count) {
    for (int number = 0; number < count; ++number) {
      PipeClient& encoder = AddEncoder();
      encoder.Expect(200002, 0x301);
      encoder.Expect(0, 0x100);
      encoder.Close();
    }
  }
};

TEST_F(Descriptors, EndedEncodersKeepFewWhenThereArePlenty) {
  const auto atFirst = Count();
  StartAndEndEncoders(200);
  EXPECT_LT(Count(), atFirst + 80);
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
