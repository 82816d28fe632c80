#include "simulator/component/call_record.h"

#include <nlohmann/json.hpp>

#include "simulator/tag/state_files.h"
#include "support/osynchronizer.h"

namespace Simulator {
namespace {

/// Longer than any writer needs for a line, so that only a fault lets two of them meet.
constexpr DWORD kMutexTimeoutMs = 10000;

nlohmann::ordered_json Event(const char* event, const char* member, unsigned objectNumber) {
  return {{"event", event},
          {"member", member},
          {"object", objectNumber},
          {"process", GetCurrentProcessId()},
          {"thread", GetCurrentThreadId()},
          {"tick", GetTickCount64()}};
}

/// A record that cannot be written changes nothing for the call.
void Append(const nlohmann::ordered_json& line) noexcept {
  try {
    const WideText path = StateFilePath("calls.jsonl");
    if (!StateFileExists(path)) return;
    OMutex mutex("Tagwright Simulator Call Record", kMutexTimeoutMs);
    const OAutoLock lock(mutex);
    AppendToStateFile(path, line.dump() + "\n");
  } catch (const std::exception&) {
    OutputDebugStringW(TEXT("The simulated printer cannot record a call"));
  }
}

}  // namespace

RecordedCall::RecordedCall(const char* member, unsigned objectNumber)
    : _member(member), _objectNumber(objectNumber) {
  Append(Event("begin", _member, _objectNumber));
}

RecordedCall::~RecordedCall() {
  nlohmann::ordered_json line = Event("end", _member, _objectNumber);
  line["result"] = _result;
  Append(line);
}

}  // namespace Simulator
