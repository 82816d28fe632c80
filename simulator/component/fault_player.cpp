#include "simulator/component/fault_player.h"

#include <algorithm>
#include <iterator>

#include "simulator/component/crash.h"
#include "simulator/component/member_exception.h"

namespace Simulator {

/// A word of the fault script and what it does.
struct FaultForm {
  std::string_view word;
  FaultEffect (*play)(const Fault& fault, std::string_view member);
  bool isOfWrites = false;
};

namespace {

template <FaultEffect effect>
FaultEffect Give(const Fault&, std::string_view) {
  return effect;
}

template <TagwrightCallOutcome kind>
FaultEffect Throw(const Fault& fault, std::string_view) {
  throw MemberException(kind, fault.text, WideText());
}

FaultEffect ThrowManaged(const Fault& fault, std::string_view member) {
  WideText fullText = TEXT("Tagwright.Managed.EncoderException: ");
  fullText += fault.text;
  fullText += TEXT("\n   at Tagwright.Managed.ZebraSDK.");
  fullText += FromUtf8(member);
  throw MemberException(kTagwrightManagedException, fault.text, fullText);
}

FaultEffect Hang(const Fault&, std::string_view) {
  for (;;) Sleep(INFINITE);
}

template <void (*crash)()>
FaultEffect Crash(const Fault&, std::string_view) {
  crash();
  return FaultEffect::kWorks;
}

constexpr FaultForm kForms[] = {
    {"delay", Give<FaultEffect::kWorks>},
    {"false", Give<FaultEffect::kReturnsFalse>},
    {"partial-write", Give<FaultEffect::kInterrupts>, true},
    {"erased-word", Give<FaultEffect::kErases>, true},
    {"tag-leaves", Give<FaultEffect::kTakesTagAway>},
    {"throw-managed", ThrowManaged},
    {"throw-framework", Throw<kTagwrightFrameworkException>},
    {"throw-standard", Throw<kTagwrightStandardException>},
    {"throw-unknown", Throw<kTagwrightUnknownException>},
    {"hang", Hang},
    {"crash-read", Crash<CrashByReading>},
    {"crash-divide", Crash<CrashByDividing>},
    {"crash-illegal", Crash<CrashByIllegalInstruction>},
    {"crash-stack", Crash<CrashByStackOverflow>},
    {"crash-noexcept", Crash<CrashUnderNoexcept>},
};

}  // namespace

const FaultForm* FindFaultForm(std::string_view word) {
  const FaultForm* form = std::ranges::find(kForms, word, &FaultForm::word);
  return form == std::end(kForms) ? nullptr : form;
}

std::string_view WordOf(const FaultForm& form) { return form.word; }

bool IsOfWrites(const FaultForm& form) { return form.isOfWrites; }

FaultEffect PlayFault(const Fault& fault, std::string_view member, std::size_t dataWords) {
  const auto delayMs = fault.delayMs + fault.delayPerWordMs * static_cast<DWORD>(dataWords);
  if (delayMs != 0) Sleep(delayMs);
  return fault.form->play(fault, member);
}

}  // namespace Simulator
