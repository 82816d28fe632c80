// A control process that may have few descriptors.
#include <sys/resource.h>

#include "process/control_fixture.h"

namespace {

class Descriptors : public ControlTest {
 protected:
  void SetUp() override {
    _log.SetMask(0);  // Its hundreds of lines are not looked at.
    StartController();
    const rlimit few{128, 128};
    ASSERT_EQ(prlimit(static_cast<pid_t>(_tagwright.Id()), RLIMIT_NOFILE, &few, nullptr), 0);
  }
};

TEST_F(Descriptors, EndedEncodersNeedNone) {
  for (int number = 0; number < 500; ++number) {
    PipeClient& encoder = AddEncoder();
    encoder.Expect(200002, 0x301);
    encoder.Expect(0, 0x100);
    encoder.Close();
  }
  _client.Expect(200005, 0x300, Name(0));
  ShutDown();
}

TEST_F(Descriptors, WhoHasAPipeIsServed) {
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
