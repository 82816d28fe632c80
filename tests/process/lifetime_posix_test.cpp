/// The end of tagwright on a signal, and what it leaves behind in the file system: nothing.
#include <gmock/gmock.h>
#include <signal.h>

#include "process/control_fixture.h"

namespace {

using std::filesystem::recursive_directory_iterator;

constexpr int kSignals[] = {SIGINT, SIGQUIT, SIGHUP, SIGTERM};

class SignalTest : public ControlTest {
 protected:
  // Who runs the tests in the background or beyond the end of a session has them ignore some.
  SignalTest() {
    for (const int signal : kSignals) ::signal(signal, SIG_DFL);
  }

  void Signal(int signal) { kill(static_cast<pid_t>(_tagwright.Id()), signal); }

  static std::vector<std::string> FilesOfPipes() {
    std::vector<std::string> files;
    const auto folder = std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / "pipe";
    for (const auto& entry : recursive_directory_iterator(folder)) {
      if (!entry.is_directory()) files.push_back(entry.path());
    }
    return files;
  }
};

TEST_F(SignalTest, EveryControlSignalEndsItInOrder) {
  for (const int signal : kSignals) {
    SCOPED_TRACE(signal);
    _pipeName = UniquePipeName();
    _encoders.clear();
    StartTagwright();
    _client.Expect(200002, 0x301);  // It serves, so its handler is in place.
    Signal(signal);
    Signal(signal);
    ExpectExit();
    _log.Clear();
    StartController();
    AddEncoder().Expect(200002, 0x301);
    AwaitReads(5);
    Signal(signal);
    ExpectExit();
    _encoders.back().ExpectClosed();
    _client.Close();
    ExpectLog("console-event");
    EXPECT_THAT(FilesOfPipes(), testing::Not(testing::Contains(testing::HasSubstr(_pipeName))));
  }
}

TEST_F(SignalTest, ASystemThatGoesDownLeavesTimeForAComponentThatHangs) {
  RecordCalls();
  ScriptFaults(R"({"WriteEPC": {"fault": "hang"}})");
  StartTagwright();
  _client.Send(0x200, Example("encode-epc.xml"));
  _tagwright.Await([&] { return HasCalled(_tagwright.Id(), "WriteEPC"); });
  Signal(SIGTERM);
  ExpectExit();
  EXPECT_TRUE(_log.Has("wmain: Tagwright Exit"));
}

// On Windows, too; but there a thread that is ended by force on its way out can keep the loader
// locked, and the end may then have to wait for its deadline.
TEST_F(ControlTest, MoreEncodersThanCanBeWaitedForAreEndedByForce) {
  EndWithEncoders(65);
  EXPECT_EQ(_log.Count("WaitForEncoderThreadShutdown: WaitForMultipleObjects failed"), 1);
}

}  // namespace
