#include "platform/posix/crashes/failed_function.h"

#include <unwind.h>

#include "platform/exception_table.h"
#include "platform/posix/kernel/crash_site.h"

namespace platform {
namespace {

struct Search {
  ucontext_t& registers;
  bool isBeyondHandler = false;
  bool isFunctionToLeave = false;
};

/// The registers that a function leaves as they were, by their numbers in the unwinder (System V
/// ABI for x86-64, "DWARF Register Number Mapping").
constexpr struct {
  int place;
  int number;
} kPreserved[] = {{REG_RBX, 3},  {REG_RBP, 6},  {REG_R12, 12},
                  {REG_R13, 13}, {REG_R14, 14}, {REG_R15, 15}};

/// Null when the function has no table, which lets every exception pass.
const BYTE* ExceptionTable(_Unwind_Context* frame) {
  return static_cast<const BYTE*>(_Unwind_GetLanguageSpecificData(frame));
}

/// The unwinder takes the instruction of a signal's registers as it is, that of a call from the
/// byte before its return address.
void BecomeCaller(ucontext_t& registers, _Unwind_Context* frame) {
  auto& values = registers.uc_mcontext.gregs;
  for (const auto& preserved : kPreserved) {
    values[preserved.place] = static_cast<greg_t>(_Unwind_GetGR(frame, preserved.number));
  }
  values[REG_RSP] = static_cast<greg_t>(_Unwind_GetCFA(frame));
  values[REG_RIP] = static_cast<greg_t>(_Unwind_GetIP(frame) - 1);
}

_Unwind_Reason_Code OnFrame(_Unwind_Context* frame, void* context) {
  auto& search = *static_cast<Search*>(context);
  int isSignalled = 0;
  const _Unwind_Ptr next = _Unwind_GetIPInfo(frame, &isSignalled);
  search.isBeyondHandler |= isSignalled != 0;
  if (!search.isBeyondHandler) return _URC_NO_REASON;
  if (search.isFunctionToLeave) BecomeCaller(search.registers, frame);
  search.isFunctionToLeave = false;
  const BYTE* const table = ExceptionTable(frame);
  if (table == nullptr) return _URC_NO_REASON;
  const _Unwind_Ptr instruction = isSignalled != 0 ? next : next - 1;
  const int callSite = FindCallSite(table, instruction - _Unwind_GetRegionStart(frame));
  if (callSite != kNoCallSite) return _URC_NORMAL_STOP;
  search.isFunctionToLeave = true;
  return _URC_NO_REASON;
}

/// Whether no instruction could be read, which is what comes of calling a bad address.
bool IsOfCall(const ucontext_t& registers) { return AccessOf(&registers) == AccessKind::kExecute; }

/// The caller's instruction, as from the byte before the return address on top of the stack.
void LeaveCallee(ucontext_t& registers) {
  auto& values = registers.uc_mcontext.gregs;
  values[REG_RIP] = *reinterpret_cast<const greg_t*>(values[REG_RSP]) - 1;
  values[REG_RSP] += sizeof(greg_t);
}

}  // namespace

void LeaveFailedFunction(ucontext_t& registers) {
  if (IsOfCall(registers)) LeaveCallee(registers);
  Search search{registers};
  _Unwind_Backtrace(OnFrame, &search);
}

}  // namespace platform
