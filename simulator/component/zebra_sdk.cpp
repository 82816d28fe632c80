#include "simulator/component/zebra_sdk.h"

#include <atomic>

namespace Simulator {
namespace {

/// The log of all objects of the process.
OEventLog& Log() {
  static OEventLog log(kLogSource, OEventLog::kApplicationLog);
  return log;
}

void LogInformation(const OString& text, DWORD level) {
  if (Log().IsLogEnabled(static_cast<int>(level))) Log().LogInformationEvent(text, 0, level);
}

void LogError(const OString& text) {
  if (Log().IsLogEnabled(static_cast<int>(LogLevel::kErrors))) Log().LogErrorEvent(text, 0);
}

/// Logged once in a process: whoever reads the log sees at once that no card is encoded.
void LogWhatThisIs() {
  static std::atomic_flag isDone;
  if (isDone.test_and_set()) return;
  LogInformation("The simulated printer, version " SIMULATOR_VERSION
                 ": jobs change files, not cards",
                 LogLevel::kInfo);
}

OString CallText(const char* member, const OString& details) {
  OString text = OString("ZebraSDK::") << member << ": ";
  if (!details.IsEmpty()) text << details << ", ";
  return text;
}

/// A member that does not come back logs nothing afterwards, and the program does not log which one
/// it was.
FaultEffect Play(const Fault& fault, const char* member, const CallDetails& details) {
  if (EndsTheCall(*fault.form)) {
    OString text = CallText(member, details.text) << "scripted to ";
    text << std::string(WordOf(*fault.form)).c_str();
    if (!fault.text.empty()) text << ": " << fault.text.c_str();
    LogError(text);
  }
  return PlayFault(fault, member, details.dataWords);
}

unsigned NextNumber() {
  static std::atomic<unsigned> count{0};
  return ++count;
}

}  // namespace

void LogCall(const char* member, const OString& details, const Outcome& outcome) {
  OString text = CallText(member, details);
  if (!outcome.Succeeded()) {
    LogError(text << outcome.refusal.c_str());
  } else if (!outcome.remark.empty()) {
    LogInformation(text << outcome.remark.c_str(), LogLevel::kInfo);
  } else {
    LogInformation(text << "done", LogLevel::kDetailInfo);
  }
}

ZebraSdk::ZebraSdk() : _number(NextNumber()) {
  try {
    _faults = FaultScript::Load();
  } catch (const std::runtime_error& problem) {
    _faultProblem = problem.what();
  }
  Run("ZebraSDK", {}, [] { return Outcome{}; });
}

void ZebraSdk::TestManagedCodeAccessible() {
  constexpr const char* kMember = "TestManagedCodeAccessible";
  RecordedCall record(kMember, 0);
  std::vector<Fault> faults;
  try {
    faults = FaultScript::Load().TakeCall(kMember, {});
  } catch (const std::runtime_error&) {
    // Connect, which comes next, says why.
  }
  for (const Fault& fault : faults) Play(fault, kMember, {});
  record.SetResult(true);
}

bool ZebraSdk::PlayFaults(const char* member, const CallDetails& details) {
  const CallPlace place{_session.PortAddress(), _session.Card()};
  for (const Fault& fault : _faults.TakeCall(member, place)) {
    switch (Play(fault, member, details)) {
      case FaultEffect::kReturnsFalse:
        return false;
      case FaultEffect::kInterrupts:
        _session.InterruptNextWrite(fault.words, false);
        break;
      case FaultEffect::kErases:
        _session.InterruptNextWrite(fault.words, true);
        break;
      case FaultEffect::kTakesTagAway:
        _session.TakeTagAway();
        break;
      case FaultEffect::kWorks:
        break;
    }
  }
  return true;
}

bool ZebraSdk::Connect(WideView portAddress, bool connectPerCard, const CallDetails& details) {
  _session.Approach(portAddress, connectPerCard);
  return Run("Connect", details, [this] {
    return _faultProblem.empty() ? _session.Connect() : Outcome{_faultProblem};
  });
}

void ZebraSdk::InitLogging() {
  Run("InitLogging", {}, [this] {
    LogWhatThisIs();
    _canLogErrors = true;
    return Outcome{};
  });
}

void ZebraSdk::LogErrorEvent(const OString& text) {
  Run("LogErrorEvent", {}, [&] {
    if (_canLogErrors) Log().LogErrorEvent(text, 0);
    return Outcome{};
  });
}

}  // namespace Simulator
