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
  bool endsTheCall = false;
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
    {"throw-managed", ThrowManaged, false, true},
    {"throw-framework", Throw<kTagwrightFrameworkException>, false, true},
    {"throw-standard", Throw<kTagwrightStandardException>, false, true},
    {"throw-unknown", Throw<kTagwrightUnknownException>, false, true},
    {"hang", Hang, false, true},
    {"crash-read", Crash<CrashByReading>, false, true},
    {"crash-divide", Crash<CrashByDividing>, false, true},
    {"crash-illegal", Crash<CrashByIllegalInstruction>, false, true},
    {"crash-stack", Crash<CrashByStackOverflow>, false, true},
    {"crash-noexcept", Crash<CrashUnderNoexcept>, false, true},
};

}  // namespace

const FaultForm* FindFaultForm(std::string_view word) {
  const FaultForm* form = std::ranges::find(kForms, word, &FaultForm::word);
  return form == std::end(kForms) ? nullptr : form;
}

std::string_view WordOf(const FaultForm& form) { return form.word; }

std::vector<std::string_view> FaultWords() {
  std::vector<std::string_view> words;
  for (const FaultForm& form : kForms) words.push_back(form.word);
  return words;
}

bool IsOfWrites(const FaultForm& form) { return form.isOfWrites; }
bool EndsTheCall(const FaultForm& form) { return form.endsTheCall; }

FaultEffect PlayFault(const Fault& fault, std::string_view member, std::size_t dataWords) {
  const auto delayMs = fault.delayMs + fault.delayPerWordMs * static_cast<DWORD>(dataWords);
  if (delayMs != 0) Sleep(delayMs);
  return fault.form->play(fault, member);
}

}  // namespace Simulator
