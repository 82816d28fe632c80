/// What an x86-64 instruction that failed was about to do.
///
/// The processor has one fault for several errors, which the system tells apart by the instruction
/// itself. Encodings: Intel 64 and IA-32 Architectures Software Developer's Manual, volume 2.
#pragma once

#include "platform/windows_api.h"

namespace platform {

/// Whether a program may never execute the instruction (hlt, in and out, access to control
/// registers and so on).
bool IsPrivileged(const BYTE* instruction);

/// Whether the instruction at the context's Rip divides by a number other than zero: the quotient
/// was too large then. False for an instruction that does not divide.
bool HasQuotientOverflown(const CONTEXT& context);

}  // namespace platform
