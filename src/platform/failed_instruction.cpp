#include "platform/failed_instruction.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace platform {
namespace {

constexpr BYTE kOperandSizePrefix = 0x66;
constexpr BYTE kAddressSizePrefix = 0x67;
constexpr BYTE kFsPrefix = 0x64;
constexpr BYTE kGsPrefix = 0x65;
constexpr BYTE kPrefixes[] = {
    0x26, 0x2E, 0x36, 0x3E, kFsPrefix, kGsPrefix, kOperandSizePrefix, kAddressSizePrefix,
    0xF0, 0xF2, 0xF3};
constexpr BYTE kTwoByteOpcode = 0x0F;

template <class Bytes>
bool IsAmong(const Bytes& bytes, BYTE value) {
  return std::find(std::begin(bytes), std::end(bytes), value) != std::end(bytes);
}

struct Prefixes {
  bool hasSmallOperand = false;
  /// An address in another segment, or of another size, which no compiler divides by.
  bool hasUnusualAddress = false;
  BYTE rex = 0;

  bool IsWide() const { return (rex & 8) != 0; }
  int RegisterBit() const { return (rex & 1) << 3; }
  int IndexBit() const { return (rex & 2) << 2; }
};

Prefixes SkipPrefixes(const BYTE*& at) {
  Prefixes prefixes;
  for (; IsAmong(kPrefixes, *at); ++at) {
    prefixes.hasSmallOperand |= *at == kOperandSizePrefix;
    prefixes.hasUnusualAddress |= *at == kFsPrefix || *at == kGsPrefix || *at == kAddressSizePrefix;
  }
  if ((*at & 0xF0) == 0x40) prefixes.rex = *at++;
  return prefixes;
}

/// The byte that says which operands an instruction has.
struct ModRm {
  explicit ModRm(BYTE bits) : mode(bits >> 6), extension(bits >> 3 & 7), operand(bits & 7) {}
  int mode;
  int extension;
  int operand;
};

ULONG_PTR Register(const CONTEXT& context, int number) {
  constexpr decltype(&CONTEXT::Rax) kRegisters[] = {
      &CONTEXT::Rax, &CONTEXT::Rcx, &CONTEXT::Rdx, &CONTEXT::Rbx, &CONTEXT::Rsp, &CONTEXT::Rbp,
      &CONTEXT::Rsi, &CONTEXT::Rdi, &CONTEXT::R8,  &CONTEXT::R9,  &CONTEXT::R10, &CONTEXT::R11,
      &CONTEXT::R12, &CONTEXT::R13, &CONTEXT::R14, &CONTEXT::R15};
  return context.*kRegisters[number];
}

/// A signed displacement; `at` is left behind it.
ULONG_PTR TakeDisplacement(const BYTE*& at, std::size_t sizeBytes) {
  signed char small = 0;
  std::int32_t large = 0;
  std::memcpy(sizeBytes == sizeof small ? static_cast<void*>(&small) : &large, at, sizeBytes);
  at += sizeBytes;
  return static_cast<ULONG_PTR>(sizeBytes == sizeof small ? LONGLONG{small} : LONGLONG{large});
}

/// The address of an operand in memory; `at` is behind the ModRM byte.
ULONG_PTR OperandAddress(const CONTEXT& context, const Prefixes& prefixes, const ModRm& modRm,
                         const BYTE* at) {
  constexpr int kHasIndex = 4;  // As the operand: a byte with base, index and scale follows.
  constexpr int kNoIndex = 4;
  constexpr int kNoBase = 5;  // In mode 0: a displacement alone.
  ULONG_PTR address = 0;
  int base = modRm.operand;
  const bool hasIndex = base == kHasIndex;
  if (hasIndex) {
    const BYTE scaled = *at++;
    const int index = (scaled >> 3 & 7) | prefixes.IndexBit();
    if (index != kNoIndex) address = Register(context, index) << (scaled >> 6);
    base = scaled & 7;
  }
  const bool hasBase = base != kNoBase || modRm.mode != 0;
  if (hasBase) address += Register(context, base | prefixes.RegisterBit());
  if (modRm.mode == 1) address += TakeDisplacement(at, sizeof(BYTE));
  if (modRm.mode == 2 || !hasBase) address += TakeDisplacement(at, sizeof(std::int32_t));
  if (!hasBase && !hasIndex) address += reinterpret_cast<ULONG_PTR>(at);  // Relative to the next.
  return address;
}

/// Where the divisor is: in memory, or in its register's copy in `registerValue`.
const void* DivisorPlace(const CONTEXT& context, const Prefixes& prefixes, const ModRm& modRm,
                         const BYTE* at, bool isByte, ULONG_PTR& registerValue) {
  constexpr int kRegisterMode = 3;
  if (modRm.mode != kRegisterMode) {
    return reinterpret_cast<const void*>(OperandAddress(context, prefixes, modRm, at));
  }
  // Without a REX prefix the byte registers 4 to 7 are the second bytes of the first four.
  const bool isSecondByte = isByte && prefixes.rex == 0 && modRm.operand >= 4;
  const int number = isSecondByte ? modRm.operand - 4 : modRm.operand | prefixes.RegisterBit();
  registerValue = Register(context, number) >> (isSecondByte ? 8 : 0);
  return &registerValue;
}

}  // namespace

bool IsPrivileged(const BYTE* instruction) {
  // ins, outs, in, out (by number and by dx), hlt, cli, sti
  constexpr BYTE kOneByte[] = {0x6C, 0x6D, 0x6E, 0x6F, 0xE4, 0xE5, 0xE6, 0xE7,
                               0xEC, 0xED, 0xEE, 0xEF, 0xF4, 0xFA, 0xFB};
  // clts, sysret, invd, wbinvd, mov of control and debug registers, wrmsr, rdmsr, sysexit
  constexpr BYTE kTwoBytes[] = {0x06, 0x07, 0x08, 0x09, 0x20, 0x21, 0x22, 0x23, 0x30, 0x32, 0x35};
  constexpr BYTE kDescriptorTables = 0x00;   // lldt, ltr
  constexpr BYTE kDescriptorTables2 = 0x01;  // lgdt, lidt, lmsw, invlpg
  SkipPrefixes(instruction);
  if (*instruction != kTwoByteOpcode) return IsAmong(kOneByte, *instruction);
  const BYTE opcode = instruction[1];
  if (IsAmong(kTwoBytes, opcode)) return true;
  if (opcode != kDescriptorTables && opcode != kDescriptorTables2) return false;
  const int extension = ModRm(instruction[2]).extension;
  if (opcode == kDescriptorTables) return extension == 2 || extension == 3;
  return extension == 2 || extension == 3 || extension == 6 || extension == 7;
}

bool HasQuotientOverflown(const CONTEXT& context) {
  constexpr BYTE kDivisionOfBytes = 0xF6;
  constexpr BYTE kDivision = 0xF7;
  const auto* at = reinterpret_cast<const BYTE*>(context.Rip);
  const Prefixes prefixes = SkipPrefixes(at);
  const BYTE opcode = *at++;
  if (opcode != kDivisionOfBytes && opcode != kDivision) return false;
  const ModRm modRm(*at++);
  const bool isDivision = modRm.extension == 6 || modRm.extension == 7;  // div, idiv
  if (!isDivision || prefixes.hasUnusualAddress) return false;
  const bool isByte = opcode == kDivisionOfBytes;
  const std::size_t sizeBytes = isByte                     ? 1
                                : prefixes.IsWide()        ? 8
                                : prefixes.hasSmallOperand ? 2
                                                           : 4;
  ULONG_PTR registerValue = 0;
  ULONG_PTR divisor = 0;
  std::memcpy(&divisor, DivisorPlace(context, prefixes, modRm, at, isByte, registerValue),
              sizeBytes);
  return divisor != 0;
}

}  // namespace platform
