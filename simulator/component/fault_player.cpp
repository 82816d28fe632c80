#include "simulator/component/fault_player.h"

#include "simulator/component/crash.h"
#include "simulator/component/member_exception.h"

namespace Simulator {
namespace {

[[noreturn]] void Throw(TagwrightCallOutcome kind, const Fault& fault) {
  throw MemberException(kind, fault.text, WideText());
}

[[noreturn]] void ThrowManaged(const Fault& fault, std::string_view member) {
  WideText fullText = TEXT("Tagwright.Managed.EncoderException: ");
  fullText += fault.text;
  fullText += TEXT("\n   at Tagwright.Managed.ZebraSDK.");
  fullText += FromUtf8(member);
  throw MemberException(kTagwrightManagedException, fault.text, fullText);
}

[[noreturn]] void Hang() {
  for (;;) Sleep(INFINITE);
}

}  // namespace

bool PlayFault(const Fault& fault, std::string_view member) {
  if (fault.delayMs != 0) Sleep(fault.delayMs);
  switch (fault.kind) {
    case FaultKind::kReturnFalse:
      return false;
    case FaultKind::kThrowManaged:
      ThrowManaged(fault, member);
    case FaultKind::kThrowFramework:
      Throw(kTagwrightFrameworkException, fault);
    case FaultKind::kThrowStandard:
      Throw(kTagwrightStandardException, fault);
    case FaultKind::kThrowUnknown:
      Throw(kTagwrightUnknownException, fault);
    case FaultKind::kHang:
      Hang();
    case FaultKind::kCrashRead:
      CrashByReading();
      break;
    case FaultKind::kCrashDivide:
      CrashByDividing();
      break;
    case FaultKind::kCrashIllegal:
      CrashByIllegalInstruction();
      break;
    case FaultKind::kCrashStack:
      CrashByUsingUpTheStack();
      break;
    case FaultKind::kCrashNoexcept:
      CrashUnderNoexcept();
      break;
    case FaultKind::kNone:
    case FaultKind::kDelay:
      break;
  }
  return true;
}

}  // namespace Simulator
