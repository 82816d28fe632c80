/// The simulated component's class ZebraSDK: a printer session behind scripted faults, with its
/// calls logged and recorded.
#pragma once

#include <string>

#include "simulator/component/call_record.h"
#include "simulator/component/fault_player.h"
#include "simulator/component/fault_script.h"
#include "simulator/tag/printer_session.h"
#include "support/oevent_log.h"

namespace Simulator {

/// Raises MemberException for scripted faults and std::exception for failures of its files. The log
/// is the source "Brennick Tagwright.Managed": refusals as errors, calls as DetailInfo, from
/// InitLogging on. Neither data nor passwords are ever logged.
class ZebraSdk {
 public:
  /// Reads the fault script.
  ZebraSdk();

  /// Static member of the class: reads the fault script itself.
  static void TestManagedCodeAccessible();

  /// Runs `work` (to an Outcome) as the member `member`; returns the member's bool. `details`
  /// (numbers only) goes to the log.
  template <class Work>
  bool Run(const char* member, const OString& details, Work work);

  void InitLogging();
  /// ZSDKEventLogM; nothing is written before InitLogging.
  void LogErrorEvent(const OString& text);

  PrinterSession& Session() { return _session; }

 private:
  void LogCall(const char* member, const OString& details, const Outcome& outcome);

  unsigned _number;
  FaultScript _faults;
  PrinterSession _session;
  /// The log of all objects of the process; null until InitLogging.
  OEventLog* _log = nullptr;
};

template <class Work>
bool ZebraSdk::Run(const char* member, const OString& details, Work work) {
  RecordedCall record(member, _number);
  const Outcome outcome =
      PlayFault(_faults.For(member), member) ? work() : Outcome{"scripted to return false"};
  LogCall(member, details, outcome);
  record.SetResult(outcome.Succeeded());
  return outcome.Succeeded();
}

}  // namespace Simulator
