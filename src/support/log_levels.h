/// The level bits of the log mask, their names, and the two switches that share the mask with them.
#pragma once

#include <array>

#include "platform/windows_api.h"

namespace LogLevel {

constexpr DWORD kErrors = 0x80000000U;
constexpr DWORD kWarnings = 0x40000000U;
constexpr DWORD kInfo = 0x20000000U;
/// Ordinary tracing.
constexpr DWORD kDetailInfo = 0x10000000U;
/// Finer details, sixteen bits from kDetailInfoA to kDetailInfoP; those in use have a name.
constexpr DWORD kDetailInfoA = 0x00000001U;
constexpr DWORD kDetailInfoB = 0x00000002U;
constexpr DWORD kDetailInfoC = 0x00000004U;
constexpr DWORD kDetailInfoD = 0x00000008U;
constexpr DWORD kDetailInfoP = 0x00008000U;

/// Switches, no levels: copy every event to the debugger output, or to the log file.
constexpr DWORD kCopyToDebugger = 0x08000000U;
constexpr DWORD kCopyToFile = 0x04000000U;

/// What is in force while the registry holds no mask.
constexpr DWORD kDefaultMask = kErrors | kWarnings | kInfo;

/// The key under HKEY_LOCAL_MACHINE that holds the masks: REG_DWORD values named after the sources.
inline constexpr const char* kMaskKey = "Software\\Brennick\\Drivers\\DebugLogMasks";

/// One bit and the name that a line of the log file shows for it.
struct Name {
  DWORD bit;
  const char* text;
};

inline constexpr std::array<Name, 20> kNames = {{
    {kErrors, "Errors"},           {kWarnings, "Warnings"},       {kInfo, "Info"},
    {kDetailInfo, "DetailInfo"},   {kDetailInfoA, "DetailInfoA"}, {kDetailInfoB, "DetailInfoB"},
    {kDetailInfoC, "DetailInfoC"}, {kDetailInfoD, "DetailInfoD"}, {0x00000010U, "DetailInfoE"},
    {0x00000020U, "DetailInfoF"},  {0x00000040U, "DetailInfoG"},  {0x00000080U, "DetailInfoH"},
    {0x00000100U, "DetailInfoI"},  {0x00000200U, "DetailInfoJ"},  {0x00000400U, "DetailInfoK"},
    {0x00000800U, "DetailInfoL"},  {0x00001000U, "DetailInfoM"},  {0x00002000U, "DetailInfoN"},
    {0x00004000U, "DetailInfoO"},  {kDetailInfoP, "DetailInfoP"},
}};

}  // namespace LogLevel
