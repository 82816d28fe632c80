/// The check that precedes every connection: the SDK files lie beside the program and the printer
/// component answers.
#pragma once

#include <array>

#include "sdk/component_library.h"
#include "support/ostring.h"

/// What must lie beside the program before the printer can be reached: the program's own component,
/// then the printer maker's files that it needs.
inline constexpr std::array<const char*, 5> listOfRequiredFiles = {
    Tagwright::kComponentFileName,
    "ZXPSCReader.dll",
    "ZBRSXBridge.dll",
    "Zbscfgsrv.dll",
    "Sxuptp.dll",
};

/// Names of the required files that `directory` (without a trailing backslash) lacks, in list
/// order, separated by a comma and a blank; empty when all are there.
OString MissingRequiredFiles(const OString& directory);

/// False, with an error line that says why, when a required file is missing or the component's test
/// entry raised anything. Call it with the process-wide encode mutex held.
bool VerifyManagedComponents();

/// Writes the error line for the exception that the component's test entry raised last; its code is
/// process-wide and guarded by the encode mutex.
void RecordSehException();
