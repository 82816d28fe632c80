/// A tagwright whose driver dies.
#pragma once

#include "common/victim.h"
#include "process/process_fixture.h"

/// The driver's process: starts tagwright, given by its program and its arguments, as its child and
/// lives until it is killed.
inline const VictimRole kDriver("driver", [](VictimSide& side, const std::string& commandLine) {
  const auto blank = commandLine.find(' ');
  Program tagwright;
  tagwright.Start(commandLine.substr(0, blank), commandLine.substr(blank + 1));
  side.Ready();
  side.WaitUntilReleased();
  return 0;
});

enum Mode { kSingle, kControl };

/// A tagwright whose driver can be killed, and the connections to its pipes.
class Driven {
 public:
  explicit Driven(Mode mode, const std::string& program = "tagwright")
      : _driver("driver", "\"" + program + (mode == kControl ? " /c /n " : " /n ") + _name + "\""),
        _mode(mode) {
    _driver.WaitUntilReady();
    _tagwright.Adopt(_driver.Id());
    _tagwright.Connect(_first, _name);
    if (mode == kSingle) return;
    _first.Expect(0, 0x300, _name + "-encoder");
    _first.Expect(0, 0x300, _name + "-nobody");
    _encoder.Connect(_name + "-encoder");
  }

  void SendJob(const std::string& job = Example("encode-epc.xml")) {
    (_mode == kControl ? _encoder : _first).Send(0x200, job);
  }
  void KillDriver() {
    _driver.Kill();
    _killedAt = GetTickCount64();
  }

  /// The end has to come within `boundMs` of the driver's death; the margin is for a busy machine.
  void ExpectEnd(DWORD boundMs) {
    constexpr DWORD kMarginMs = 10000;
    EXPECT_EQ(WaitForSingleObject(_tagwright.Handle(), Program::kLongMs), WAIT_OBJECT_0);
    EXPECT_LT(GetTickCount64() - _killedAt, boundMs + kMarginMs);
    _first.ExpectClosed();
    EXPECT_EQ(PipeClient().TryConnect(_name), DWORD{ERROR_FILE_NOT_FOUND});
  }

  Program& Tagwright() { return _tagwright; }
  PipeClient& First() { return _first; }

 private:
  const std::string _name = UniquePipeName();
  Victim _driver;
  Mode _mode;
  Program _tagwright;
  PipeClient _first;
  PipeClient _encoder;
  ULONGLONG _killedAt = 0;
};
