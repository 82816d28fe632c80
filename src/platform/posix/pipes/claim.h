/// Which pipe names live processes have.
///
/// A claim is the file pipe/.lock/<name>. All claims of a process are links to one file, of which
/// the process keeps a byte locked (an open file description's lock) while it lives, so that a
/// claim costs no descriptor. A file that nobody has locked was left by a dead process.
#pragma once

#include <memory>
#include <string>

#include "platform/posix/api/base.h"

namespace platform {

/// The locked file behind the claims of this process; it stays locked while a claim refers to it.
class ClaimFile;

/// Takes the name for this process, and removes what a dead one has left of it. ERROR_PIPE_BUSY
/// when a live process has it. On success the caller keeps `file` until it has released the claim.
DWORD ClaimName(const std::string& fileName, std::shared_ptr<ClaimFile>& file);

/// Whether a live process has the name.
bool IsClaimed(const std::string& fileName);

/// Gives up a claim of this process.
void ReleaseClaim(const std::string& fileName);

/// The path of the socket file of that name. The first claim creates its folder.
std::string SocketPath(const std::string& fileName);

}  // namespace platform
