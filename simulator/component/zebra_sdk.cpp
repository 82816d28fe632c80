#include "simulator/component/zebra_sdk.h"

#include <atomic>

namespace Simulator {
namespace {

OEventLog& ManagedLog() {
  static OEventLog log("Brennick Tagwright.Managed", OEventLog::kApplicationLog);
  return log;
}

unsigned NextNumber() {
  static std::atomic<unsigned> count{0};
  return ++count;
}

}  // namespace

ZebraSdk::ZebraSdk() : _number(NextNumber()), _faults(FaultScript::Load()) {
  Run("ZebraSDK", OString(), [] { return Outcome{}; });
}

void ZebraSdk::TestManagedCodeAccessible() {
  constexpr const char* kMember = "TestManagedCodeAccessible";
  RecordedCall record(kMember, 0);
  PlayFault(FaultScript::Load().For(kMember), kMember);
  record.SetResult(true);
}

void ZebraSdk::InitLogging() {
  Run("InitLogging", OString(), [this] {
    _log = &ManagedLog();
    return Outcome{};
  });
  if (_log != nullptr && !_faults.Problem().empty()) {
    _log->LogErrorEvent(_faults.Problem().c_str(), 0);
  }
}

void ZebraSdk::LogErrorEvent(const OString& text) {
  Run("LogErrorEvent", OString(), [&] {
    if (_log != nullptr) _log->LogErrorEvent(text, 0);
    return Outcome{};
  });
}

void ZebraSdk::LogCall(const char* member, const OString& details, const Outcome& outcome) {
  const DWORD level = outcome.Succeeded() ? LogLevel::kDetailInfo : LogLevel::kErrors;
  if (_log == nullptr || !_log->IsLogEnabled(static_cast<int>(level))) return;
  OString text = OString("ZebraSDK::") << member << ": ";
  if (!details.IsEmpty()) text << details << ", ";
  if (outcome.Succeeded()) {
    _log->LogInformationEvent(text << "done", 0, level);
  } else {
    _log->LogErrorEvent(text << outcome.refusal.c_str(), 0);
  }
}

}  // namespace Simulator
