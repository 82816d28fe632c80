#include "platform/se_translator.h"

#include <utility>

namespace {

/// What a thread with a translator keeps. The records that the system passes lie on the stack that
/// the translator's exception unwinds, so they are copied.
struct ThreadState {
  SeTranslator translator = nullptr;
  EXCEPTION_POINTERS pointers{&record, &context};
  EXCEPTION_RECORD record{};
  CONTEXT context{};
};

/// What handling a used up stack takes: the system's own frames, the translator, the unwinder.
constexpr ULONG kStackGuaranteeBytes = 128 * 1024;

/// Errors of the processor and the memory manager have these bits (and NTSTATUS values without them
/// are informational); the exceptions of runtimes have the customer bit as well.
constexpr DWORD kSeverityError = 0xC0000000;
constexpr DWORD kCustomerBit = 0x20000000;

void WINAPI DeleteThreadState(void* state) { delete static_cast<ThreadState*>(state); }

DWORD StateSlot() {
  static const DWORD slot = FlsAlloc(DeleteThreadState);
  return slot;
}

/// Keeps the thread's last error, which reading the slot resets.
ThreadState* CurrentState() {
  const DWORD lastError = GetLastError();
  auto* const state = static_cast<ThreadState*>(FlsGetValue(StateSlot()));
  SetLastError(lastError);
  return state;
}

bool IsForTranslators(DWORD code) {
  const bool isError = (code & kSeverityError) == kSeverityError && (code & kCustomerBit) == 0;
  return isError || code == static_cast<DWORD>(EXCEPTION_DATATYPE_MISALIGNMENT) ||
         code == static_cast<DWORD>(EXCEPTION_BREAKPOINT);
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
  if (!IsForTranslators(pointers->ExceptionRecord->ExceptionCode)) return EXCEPTION_CONTINUE_SEARCH;
  ThreadState* const state = CurrentState();
  if (state == nullptr || state->translator == nullptr) return EXCEPTION_CONTINUE_SEARCH;
  state->record = *pointers->ExceptionRecord;
  state->context = *pointers->ContextRecord;
  state->translator(state->record.ExceptionCode, &state->pointers);
  return EXCEPTION_CONTINUE_SEARCH;
}

ThreadState& PrepareThread() {
  static const void* const handler = AddVectoredExceptionHandler(1, OnException);
  static_cast<void>(handler);
  if (ThreadState* const state = CurrentState()) return *state;
  ULONG guaranteeBytes = kStackGuaranteeBytes;
  SetThreadStackGuarantee(&guaranteeBytes);
  auto* const state = new ThreadState;
  FlsSetValue(StateSlot(), state);
  return *state;
}

}  // namespace

SeTranslator _set_se_translator(SeTranslator translator) {
  return std::exchange(PrepareThread().translator, translator);
}
