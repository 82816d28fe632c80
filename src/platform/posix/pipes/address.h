/// A pipe's name in the file system: the socket file pipe/<name>, which clients connect to, and the
/// claim of claim.h, which tells whether a live process serves it.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/posix/api/base.h"
#include "platform/posix/kernel/unique_fd.h"
#include "platform/posix/pipes/claim.h"

namespace platform {

/// The server's right to a name. The destructor, and at the latest the end of the process, removes
/// the socket file and the claim. It keeps no descriptor. Not thread-safe: its owner locks.
class PipeAddress {
 public:
  /// ERROR_PIPE_BUSY when a live process has the name. `forEveryone`: any user may connect.
  static DWORD Claim(const std::string& fileName, bool forEveryone,
                     std::unique_ptr<PipeAddress>& address);
  ~PipeAddress();
  PipeAddress(const PipeAddress&) = delete;
  PipeAddress& operator=(const PipeAddress&) = delete;

  /// A new listening socket under the name, in place of the one before. It holds one client at most
  /// until that is accepted. Empty, with errno set, on failure.
  UniqueFd Listen();

 private:
  PipeAddress(std::string fileName, bool forEveryone, std::shared_ptr<ClaimFile> claim);
  bool Publish(int folder, int socket, const std::string& temporaryName);
  void Release();
  static void ReleaseAll();

  const std::string _fileName;
  const bool _forEveryone;
  const pid_t _owner;
  const std::shared_ptr<ClaimFile> _claim;
  ino_t _socketInode = 0;
};

/// Connects as a client, at once or not at all: ERROR_FILE_NOT_FOUND without a server,
/// ERROR_PIPE_BUSY when it has or had its client.
DWORD ConnectToPipe(const std::string& fileName, UniqueFd& socket);

}  // namespace platform
