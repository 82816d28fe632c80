/// Who is at the other end of somebody's socket, as the kernel's socket diagnosis tells it
/// (sock_diag(7)).
#pragma once

#include <optional>
#include <string>

#include "platform/posix/api/base.h"

namespace platform {

/// The process that is connected to the server whose socket file is `path`; 0 when none is. Nothing
/// when the kernel does not say, or when the process belongs to another user.
std::optional<DWORD> ClientOfSocket(const std::string& path);

}  // namespace platform
