/// A record of the calls that reach the component, in the order they came, whichever object, thread
/// or process made them: the file calls.jsonl, two lines for each call.
///
///   {"event":"begin","member":"WriteEPC","object":1,"process":712,"thread":714,"tick":51077}
///   {"event":"end","member":"WriteEPC","object":1,"process":712,"thread":714,"tick":51078,
///    "result":"true"}
///
/// Lines are written while the file exists: create it empty to start recording. A call that never
/// returns has no end line. `tick` is in milliseconds since system start, `object` counts the
/// objects of a process from 1 and is 0 for the static member, `result` is "true", "false" or
/// "exception".
#pragma once

namespace Simulator {

/// One call, from its construction to its destruction.
class RecordedCall {
 public:
  /// `member` must live as long as the record.
  RecordedCall(const char* member, unsigned objectNumber);
  ~RecordedCall();
  RecordedCall(const RecordedCall&) = delete;
  RecordedCall& operator=(const RecordedCall&) = delete;

  /// Without it the call ended with an exception.
  void SetResult(bool result) { _result = result ? "true" : "false"; }

 private:
  const char* _member;
  unsigned _objectNumber;
  const char* _result = "exception";
};

}  // namespace Simulator
