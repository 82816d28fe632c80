#include "platform/exception_table.h"

namespace platform {
namespace {

/// Encodings of the DWARF exception headers (Linux Standard Base, "DWARF Extensions").
constexpr BYTE kOmitted = 0xFF;
constexpr BYTE kUnsignedLeb128 = 0x01;

ULONG_PTR ReadUnsignedLeb128(const BYTE*& at) {
  constexpr int kBitsPerByte = 7;
  constexpr BYTE kMore = 0x80;
  ULONG_PTR value = 0;
  for (int shift = 0;; shift += kBitsPerByte) {
    const BYTE byte = *at++;
    value |= static_cast<ULONG_PTR>(byte & ~kMore) << shift;
    if ((byte & kMore) == 0) return value;
  }
}

}  // namespace

int FindCallSite(const BYTE* table, ULONG_PTR offset) {
  const BYTE landingPadBase = *table++;
  if (landingPadBase != kOmitted) return 0;
  const BYTE typeTable = *table++;
  if (typeTable != kOmitted) ReadUnsignedLeb128(table);
  const BYTE callSites = *table++;
  if (callSites != kUnsignedLeb128) return 0;
  const ULONG_PTR callSiteBytes = ReadUnsignedLeb128(table);
  const BYTE* const end = table + callSiteBytes;
  for (int index = 0; table < end; ++index) {
    const ULONG_PTR start = ReadUnsignedLeb128(table);
    const ULONG_PTR length = ReadUnsignedLeb128(table);
    ReadUnsignedLeb128(table);  // The landing pad,
    ReadUnsignedLeb128(table);  // and what it is for.
    if (start <= offset && offset < start + length) return index;
  }
  return kNoCallSite;
}

}  // namespace platform
