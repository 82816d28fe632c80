/// Structured exceptions: the records that travel with one, laid out as 64-bit Windows has them, so
/// that a dump can carry them as they are.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD EXCEPTION_DATATYPE_MISALIGNMENT = 0x80000002;
constexpr DWORD EXCEPTION_BREAKPOINT = 0x80000003;
constexpr DWORD EXCEPTION_ACCESS_VIOLATION = 0xC0000005;
constexpr DWORD EXCEPTION_IN_PAGE_ERROR = 0xC0000006;
constexpr DWORD EXCEPTION_ILLEGAL_INSTRUCTION = 0xC000001D;
constexpr DWORD EXCEPTION_FLT_DENORMAL_OPERAND = 0xC000008D;
constexpr DWORD EXCEPTION_FLT_DIVIDE_BY_ZERO = 0xC000008E;
constexpr DWORD EXCEPTION_FLT_INEXACT_RESULT = 0xC000008F;
constexpr DWORD EXCEPTION_FLT_INVALID_OPERATION = 0xC0000090;
constexpr DWORD EXCEPTION_FLT_OVERFLOW = 0xC0000091;
constexpr DWORD EXCEPTION_FLT_UNDERFLOW = 0xC0000093;
constexpr DWORD EXCEPTION_INT_DIVIDE_BY_ZERO = 0xC0000094;
constexpr DWORD EXCEPTION_INT_OVERFLOW = 0xC0000095;
constexpr DWORD EXCEPTION_PRIV_INSTRUCTION = 0xC0000096;
constexpr DWORD EXCEPTION_STACK_OVERFLOW = 0xC00000FD;

constexpr DWORD EXCEPTION_MAXIMUM_PARAMETERS = 15;

struct EXCEPTION_RECORD {
  DWORD ExceptionCode;
  DWORD ExceptionFlags;
  EXCEPTION_RECORD* ExceptionRecord;
  void* ExceptionAddress;
  DWORD NumberParameters;
  /// Of an access violation: 0 for reading, 1 for writing, 8 for executing; then the address.
  ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};

constexpr DWORD CONTEXT_AMD64 = 0x00100000;
/// Control, integer, segment and floating-point registers.
constexpr DWORD CONTEXT_ALL = CONTEXT_AMD64 | 0xF;

/// The registers of a thread of an x86-64 processor.
struct alignas(16) CONTEXT {
  ULONGLONG P1Home, P2Home, P3Home, P4Home, P5Home, P6Home;
  DWORD ContextFlags;
  DWORD MxCsr;
  WORD SegCs, SegDs, SegEs, SegFs, SegGs, SegSs;
  DWORD EFlags;
  ULONGLONG Dr0, Dr1, Dr2, Dr3, Dr6, Dr7;
  ULONGLONG Rax, Rcx, Rdx, Rbx, Rsp, Rbp, Rsi, Rdi;
  ULONGLONG R8, R9, R10, R11, R12, R13, R14, R15;
  ULONGLONG Rip;
  BYTE FltSave[512];  // In the format of the processor's FXSAVE.
  BYTE VectorRegister[26][16];
  ULONGLONG VectorControl;
  ULONGLONG DebugControl, LastBranchToRip, LastBranchFromRip;
  ULONGLONG LastExceptionToRip, LastExceptionFromRip;
};
static_assert(offsetof(CONTEXT, ContextFlags) == 0x30 && offsetof(CONTEXT, Rax) == 0x78 &&
              offsetof(CONTEXT, Rip) == 0xF8 && offsetof(CONTEXT, FltSave) == 0x100 &&
              sizeof(CONTEXT) == 1232);

struct EXCEPTION_POINTERS {
  EXCEPTION_RECORD* ExceptionRecord;
  CONTEXT* ContextRecord;
};

/// Gives the calling thread's stack its guard back after it has overflowed; call it when the stack
/// has been left far enough. Never fails (0 would be failure).
int _resetstkoflw();
