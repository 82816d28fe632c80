/// The files that must lie beside the program before the printer can be reached.
#pragma once

#include <array>

#include "support/ostring.h"

/// The program's own component first, then the printer maker's files that it needs.
inline constexpr std::array<const char*, 5> listOfRequiredFiles = {
    "Tagwright.Managed.dll", "ZXPSCReader.dll", "ZBRSXBridge.dll", "Zbscfgsrv.dll", "Sxuptp.dll",
};

/// Names of the required files that `directory` (without a trailing backslash) lacks, in list
/// order, separated by a comma and a blank; empty when all are there.
OString MissingRequiredFiles(const OString& directory);
