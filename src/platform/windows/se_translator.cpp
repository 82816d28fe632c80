#include "platform/se_translator.h"

#include <atomic>
#include <new>
#include <utility>

#include "platform/exception_table.h"
#include "platform/failed_instruction.h"
#include "platform/fatal_crash.h"
#include "platform/windows/crashed_stack.h"

/// What handles exceptions in this program's functions.
extern "C" void __gxx_personality_seh0();

/// Aligns the stack, which an instruction that fails need not have done, and calls the translator.
extern "C" void TagwrightEnterTranslator();
asm(R"(
    .text
    .globl TagwrightEnterTranslator
    .def TagwrightEnterTranslator; .scl 2; .type 32; .endef
    .seh_proc TagwrightEnterTranslator
TagwrightEnterTranslator:
    pushq %rbp
    .seh_pushreg %rbp
    movq %rsp, %rbp
    .seh_setframe %rbp, 0
    .seh_endprologue
    cld
    andq $-16, %rsp
    subq $32, %rsp
    call TagwrightCallTranslator
    ud2
    .seh_endproc
)");

namespace {

/// What a thread with a translator keeps. The records that the system passes lie on the stack that
/// the translator's exception unwinds, so they are copied.
struct ThreadState {
  SeTranslator translator = nullptr;
  EXCEPTION_POINTERS pointers{&record, &context};
  EXCEPTION_RECORD record{};
  CONTEXT context{};
  platform::CrashedStack stack;
};

/// What handling a stack overflow takes: the system's own frames, the translator, the unwinder.
constexpr ULONG kStackGuaranteeBytes = 128 * 1024;

/// Errors of the processor and the memory manager have these bits (and NTSTATUS values without them
/// are informational); the exceptions of runtimes have the customer bit as well.
constexpr DWORD kSeverityWarning = 0x80000000;
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
  return (code & kSeverityWarning) != 0 && (code & kCustomerBit) == 0;
}

/// The function that an instruction belongs to, as the unwinder knows it.
struct Function {
  DWORD64 image = 0;
  RUNTIME_FUNCTION* entry = nullptr;  // Null for a leaf function.

  explicit Function(DWORD64 instruction)
      : entry(RtlLookupFunctionEntry(instruction, &image, nullptr)) {}
  DWORD64 Start() const { return image + entry->BeginAddress; }
  DWORD64 End() const { return image + entry->EndAddress; }
  bool IsSettingUpFrameAt(DWORD64 instruction) const {
    constexpr int kPrologSizeByte = 1;  // Of the unwind information.
    const auto* const information = reinterpret_cast<const BYTE*>(image + entry->UnwindData);
    return instruction < Start() + information[kPrologSizeByte];
  }
};

/// What the unwinder makes of a frame.
struct Frame {
  CONTEXT caller;
  void* handlerData = nullptr;
  DWORD64 establisher = 0;
  PEXCEPTION_ROUTINE handler;  // Last: finding it fills in the others.

  Frame(const Function& function, const CONTEXT& registers, DWORD64 instruction)
      : caller(registers),
        handler(RtlVirtualUnwind(UNW_FLAG_EHANDLER, function.image, instruction, function.entry,
                                 &caller, &handlerData, &establisher, nullptr)) {}

  bool IsLike(const Frame& other) const {
    return handler == other.handler && caller.Rsp == other.caller.Rsp &&
           caller.Rip == other.caller.Rip && establisher == other.establisher;
  }
  /// The record that this program's kind of handler finds for an instruction.
  int CallSite(const Function& function, DWORD64 instruction) const {
    if (reinterpret_cast<void (*)()>(handler) != &__gxx_personality_seh0) return 0;
    return platform::FindCallSite(static_cast<const BYTE*>(handlerData),
                                  instruction - function.Start());
  }
};

/// An address for which the unwinder takes a call from `instruction` to have been made: handlers
/// look up the byte before it, and nothing that starts there may look like the end of the function.
/// 0 when there is none.
DWORD64 FindReturnAddress(const Function& function, const Frame& frame, const CONTEXT& registers) {
  constexpr DWORD64 kLongestInstruction = 15;
  const DWORD64 instruction = registers.Rip;
  const int callSite = frame.CallSite(function, instruction);
  if (callSite == platform::kNoCallSite) return 0;
  for (DWORD64 length = 1; length <= kLongestInstruction; ++length) {
    const DWORD64 address = instruction + length;
    if (address >= function.End()) return 0;
    if (frame.CallSite(function, address - 1) != callSite) return 0;
    if (Frame(function, registers, address).IsLike(frame)) return address;
  }
  return 0;
}

MEMORY_BASIC_INFORMATION MemoryAt(const void* address) {
  MEMORY_BASIC_INFORMATION memory{};
  VirtualQuery(address, &memory, sizeof memory);
  return memory;
}

/// Whether the calling thread could push something there.
bool IsOnStack(DWORD64 stackPointer) {
  const auto* const below = reinterpret_cast<const DWORD64*>(stackPointer) - 1;
  const auto memory = MemoryAt(below);
  return memory.AllocationBase == MemoryAt(&memory).AllocationBase &&
         memory.Protect == PAGE_READWRITE && stackPointer % sizeof(*below) == 0;
}

void ReturnFromLeaf(CONTEXT& registers) {
  registers.Rip = *reinterpret_cast<const DWORD64*>(registers.Rsp);
  registers.Rsp += sizeof(registers.Rip);
}

/// Where a call made by the instruction that failed would return to. A function that no exception
/// can be thrown from there, as none can while the function sets up its frame, is left: its own
/// call is the one that failed then.
DWORD64 LeaveFailedInstruction(CONTEXT& registers) {
  const Function function(registers.Rip);
  if (function.entry == nullptr) {
    const DWORD64 next = registers.Rip + 1;
    if (Function(next).entry == nullptr) return next;
    ReturnFromLeaf(registers);
    return registers.Rip;
  }
  const Frame frame(function, registers, registers.Rip);
  if (!function.IsSettingUpFrameAt(registers.Rip)) {
    if (const DWORD64 address = FindReturnAddress(function, frame, registers)) return address;
  }
  registers = frame.caller;
  return registers.Rip;
}

/// The same for the functions further out, up to the first with an exception table that expects the
/// exception. One may not: memcpy and its like are thought to throw nothing.
DWORD64 LeaveFailedFunctions(CONTEXT& registers) {
  DWORD64 returnAddress = LeaveFailedInstruction(registers);
  CONTEXT at = registers;
  at.Rip = returnAddress;
  while (IsOnStack(at.Rsp)) {
    const Function function(at.Rip);
    if (function.entry == nullptr) {
      ReturnFromLeaf(at);
      continue;
    }
    const Frame frame(function, at, at.Rip);
    const DWORD64 instruction = at.Rip - 1;
    at = frame.caller;
    if (frame.handler == nullptr) continue;
    if (frame.CallSite(function, instruction) != platform::kNoCallSite) break;
    registers = at;
    returnAddress = at.Rip;
  }
  return returnAddress;
}

void Describe(const EXCEPTION_POINTERS& pointers, ThreadState& state) {
  state.record = *pointers.ExceptionRecord;
  state.context = *pointers.ContextRecord;
  // More registers than these lie behind the record, and stay there.
  state.context.ContextFlags &= CONTEXT_ALL;
  // The processor has one fault for both, and Wine one code.
  const bool isDivision = state.record.ExceptionCode == EXCEPTION_INT_DIVIDE_BY_ZERO;
  if (isDivision && platform::HasQuotientOverflown(state.context)) {
    state.record.ExceptionCode = EXCEPTION_INT_OVERFLOW;
  }
}

std::atomic<LPTOP_LEVEL_EXCEPTION_FILTER> g_previousFilter{nullptr};

LONG LeaveToPreviousFilter(EXCEPTION_POINTERS* pointers) {
  const LPTOP_LEVEL_EXCEPTION_FILTER previous = g_previousFilter;
  return previous == nullptr ? EXCEPTION_CONTINUE_SEARCH : previous(pointers);
}

/// Called when no frame of the thread has taken the exception: a `__try` in a component or in the
/// system's functions, or a runtime's own handler, comes first. Goes on as if the instruction had
/// called the translator: then the translator's exception finds its way by what the compiler has
/// laid down for calls.
LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers) {
  if (!IsForTranslators(pointers->ExceptionRecord->ExceptionCode)) {
    return LeaveToPreviousFilter(pointers);
  }
  ThreadState* const state = CurrentState();
  CONTEXT& registers = *pointers->ContextRecord;
  if (state == nullptr || state->translator == nullptr || !IsOnStack(registers.Rsp) ||
      platform::IsReportingFatalCrash()) {
    platform::ReportFatalCrash(pointers);
    return LeaveToPreviousFilter(pointers);
  }
  Describe(*pointers, *state);
  state->stack.Copy(registers.Rsp);
  const DWORD64 returnAddress = LeaveFailedFunctions(registers);
  registers.Rsp -= sizeof(returnAddress);
  *reinterpret_cast<DWORD64*>(registers.Rsp) = returnAddress;
  registers.Rip = reinterpret_cast<DWORD64>(&TagwrightEnterTranslator);
  return EXCEPTION_CONTINUE_EXECUTION;
}

/// Makes sure that a stack overflow is raised while there is room to handle it. A system that has
/// the whole stack committed, with its guard page at the very end, does not heed the guarantee
/// (Wine); then the guard is put where the guarantee begins.
void ReserveStackForHandler() {
  ULONG guaranteeBytes = kStackGuaranteeBytes;
  SetThreadStackGuarantee(&guaranteeBytes);
  SYSTEM_INFO system{};
  GetSystemInfo(&system);
  auto* const stack = static_cast<BYTE*>(MemoryAt(&system).AllocationBase);
  BYTE* const guard = stack + system.dwPageSize + kStackGuaranteeBytes;
  const auto memory = MemoryAt(guard);
  const bool isOurs = memory.AllocationBase == stack &&
                      guard + kStackGuaranteeBytes < reinterpret_cast<BYTE*>(&system);
  if (!isOurs || memory.State != MEM_COMMIT || memory.Protect != PAGE_READWRITE) return;
  DWORD previous = 0;
  VirtualProtect(guard, system.dwPageSize, PAGE_READWRITE | PAGE_GUARD, &previous);
}

/// Makes the process's filter ours, every time anew: a component may have put its own in front,
/// which gets the exceptions that are not ours.
void InstallFilter() {
  const LPTOP_LEVEL_EXCEPTION_FILTER installed = SetUnhandledExceptionFilter(OnUnhandledException);
  if (installed != OnUnhandledException) g_previousFilter = installed;
}

/// Null when there is no memory.
ThreadState* PrepareThread() {
  InstallFilter();
  if (ThreadState* const state = CurrentState()) return state;
  ReserveStackForHandler();
  auto* const state = new (std::nothrow) ThreadState;
  if (state != nullptr) FlsSetValue(StateSlot(), state);
  return state;
}

}  // namespace

extern "C" void TagwrightCallTranslator() {
  ThreadState& state = *CurrentState();
  state.translator(state.record.ExceptionCode, &state.pointers);
  // It did not throw: the instruction fails again, and that is not translated.
  state.translator = nullptr;
  RtlRestoreContext(&state.context, nullptr);
}

const platform::CrashedStack* platform::FindCrashedStack(const EXCEPTION_POINTERS* pointers) {
  const ThreadState* const state = CurrentState();
  const bool isOurs = state != nullptr && pointers == &state->pointers;
  return isOurs && state->stack.SizeBytes() != 0 ? &state->stack : nullptr;
}

SeTranslator _set_se_translator(SeTranslator translator) {
  ThreadState* const state = PrepareThread();
  return state == nullptr ? nullptr : std::exchange(state->translator, translator);
}
