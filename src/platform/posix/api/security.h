/// Security descriptors from SDDL text. The layer keeps what it can enforce: whether Everyone is
/// granted access, which becomes the mode bits of pipes and named mutexes.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD SDDL_REVISION_1 = 1;

/// Provided: revision 1 (else ERROR_UNKNOWN_REVISION) and "D:" or "D:P" with allow and deny entries
/// of generic and file rights, without object types; any other text is FALSE with
/// ERROR_INVALID_ACL. An inherit-only entry counts for nothing. The descriptor is opaque, `size`
/// (may be null) its bytes; free it with LocalFree.
BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor,
                                                          ULONG* size);

/// Frees what a call of the layer allocated. Null.
HLOCAL LocalFree(HLOCAL memory);
