/// The class ZebraSDK of the simulated component: a printer session behind scripted faults, whose
/// calls are logged and recorded.
#pragma once

#include <string>

#include "simulator/component/call_record.h"
#include "simulator/component/fault_player.h"
#include "simulator/component/fault_script.h"
#include "simulator/printer/printer_session.h"
#include "support/oevent_log.h"

namespace Simulator {

/// The event source of the log: another than a real component's, so that no line of the simulated
/// printer is taken for one of a printer.
constexpr const char* kLogSource = "Brennick Tagwright.Simulator";

/// What a call is to the log, and to faults that take time.
struct CallDetails {
  /// Numbers only: neither data nor passwords are ever logged.
  OString text;
  std::size_t dataWords = 0;
};

/// Raises MemberException for scripted faults and std::exception for failures of its files.
/// Refusals are logged as errors, calls as DetailInfo.
class ZebraSdk {
 public:
  /// Reads the fault script. One that cannot be understood plays no faults; every Connect is
  /// refused with the reason.
  ZebraSdk();

  /// Static member of the class: reads the fault script itself.
  static void TestManagedCodeAccessible();

  /// Runs `work` (to an Outcome) as the member `member`; returns the member's bool. `member` is a
  /// literal.
  template <class Work>
  bool Run(const char* member, const CallDetails& details, Work work);

  /// Runs Connect at the address.
  bool Connect(WideView portAddress, bool connectPerCard, const CallDetails& details);

  void InitLogging();
  /// ZSDKEventLogM; nothing is written before InitLogging.
  void LogErrorEvent(const OString& text);

  PrinterSession& Session() { return _session; }

 private:
  /// Whether the member does its work.
  bool PlayFaults(const char* member, const CallDetails& details);

  unsigned _number;
  FaultScript _faults;
  std::string _faultProblem;
  PrinterSession _session;
  bool _canLogErrors = false;
};

/// Writes the outcome of a call to the log.
void LogCall(const char* member, const OString& details, const Outcome& outcome);

template <class Work>
bool ZebraSdk::Run(const char* member, const CallDetails& details, Work work) {
  RecordedCall record(member, _number);
  _session.BeginMember(member);
  const Outcome outcome =
      PlayFaults(member, details) ? work() : Outcome{"scripted to return false"};
  _session.EndMember(outcome);
  LogCall(member, details.text, outcome);
  record.SetResult(outcome.Succeeded());
  return outcome.Succeeded();
}

}  // namespace Simulator
