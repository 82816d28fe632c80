/// Security descriptors from SDDL text. The layer keeps what it can enforce: whether Everyone is
/// granted access, which becomes the mode bits of pipes and named mutexes.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD SDDL_REVISION_1 = 1;

/// The descriptor is freed with LocalFree. Text that is no SDDL: FALSE with ERROR_INVALID_ACL or
/// ERROR_INVALID_PARAMETER.
BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor,
                                                          ULONG* size);
/// Null on success, the argument otherwise.
HLOCAL LocalFree(HLOCAL memory);
