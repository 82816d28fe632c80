/// Scripted faults: what is to go wrong in which member, from the file faults.json.
///
///   {"WriteEPC": {"fault": "throw-standard", "text": "disk full"},
///    "Connect":  {"fault": "delay", "delay_ms": 200}}
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "simulator/tag/text.h"

namespace Simulator {

enum class FaultKind {
  kNone,            ///< the member works
  kReturnFalse,     ///< "false"
  kThrowManaged,    ///< "throw-managed"
  kThrowFramework,  ///< "throw-framework"
  kThrowStandard,   ///< "throw-standard"
  kThrowUnknown,    ///< "throw-unknown"
  kDelay,           ///< "delay": the member works after delay_ms
  kHang,            ///< "hang": the member never returns
  kCrashRead,       ///< "crash-read": reads through a null pointer
  kCrashDivide,     ///< "crash-divide": divides an integer by zero
  kCrashIllegal,    ///< "crash-illegal": executes an illegal instruction
  kCrashStack,      ///< "crash-stack": recurses until the stack is used up
  kCrashNoexcept,   ///< "crash-noexcept": crashes where no exception gets out
};

struct Fault {
  FaultKind kind = FaultKind::kNone;
  /// Message of the exception.
  WideText text;
  /// Waited before the fault, whatever its kind, in milliseconds.
  DWORD delayMs = 0;
};

class FaultScript {
 public:
  /// Reads the file as it is now. Without one nothing goes wrong; a malformed one is ignored as a
  /// whole, and Problem says why.
  static FaultScript Load();

  /// The fault of `member` (the constructor is "ZebraSDK", the disposal "Dispose").
  Fault For(std::string_view member) const;
  const std::string& Problem() const { return _problem; }

 private:
  std::map<std::string, Fault, std::less<>> _faults;
  std::string _problem;
};

}  // namespace Simulator
