/// tagwright as a controller: its control pipe, and the encoder pipes that are asked for over it.
#pragma once

#include <deque>

#include "process/process_fixture.h"

class ControlTest : public ProcessTest {
 protected:
  void StartController() {
    _tagwright.Start("tagwright", "/c /n " + _pipeName);
    _tagwright.Connect(_client, _pipeName);
  }

  /// An encoder pipe's name as eAddEncoder carries it.
  std::string Name(int number) const { return _pipeName + "-" + std::to_string(number) + '\0'; }

  PipeClient& AddEncoder() {
    const std::string name = Name(static_cast<int>(_encoders.size()));
    _client.Expect(0, 0x300, name);
    _encoders.emplace_back().Connect(name.substr(0, name.size() - 1));
    return _encoders.back();
  }

  void ShutDown() {
    _client.Expect(0, 0x100);
    ExpectExit();
  }

  /// A process of its own that has added this many encoders when it is shut down.
  void EndWithEncoders(int count) {
    _pipeName = UniquePipeName();
    _client.Close();
    StartController();
    for (int i = 0; i < count; ++i) _client.Expect(0, 0x300, Name(i));
    ShutDown();
  }

  std::deque<PipeClient> _encoders;
};
