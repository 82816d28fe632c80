/// A tagwright process of the caller's own, started for a while and seen to its end.
#pragma once

#include <optional>

#include "client/client.h"
#include "client/text.h"
#include "platform/windows_api.h"
#include "support/scoped_handle.h"

namespace Tagwright {

/// The path of a program that lies beside the calling one, which it shares its file ending with.
WideString ProgramBesideThis(const WideString& name);

/// A pipe name that nobody can guess or has used before.
WideString FreshPipeName();

enum class ServerKind { kEncoder, kController };

class ServerProcess {
 public:
  ServerProcess() = default;
  /// Ends the process at once if it still runs.
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  /// Starts the tagwright that lies beside this program on the pipe `pipeName` (no quotes in it).
  /// Its standard streams are the caller's. False with the last error set when it cannot be
  /// started.
  bool Start(const WideString& pipeName, ServerKind kind);

  /// Connects to the process's first pipe, waiting for it to come at most `timeoutMs`. kServerGone
  /// when the process ends before its pipe is there, kTimeout when neither happens.
  std::optional<ClientError> Connect(Client& client, DWORD timeoutMs);

  /// The process's exit code, once it has ended; nothing while it still runs after `timeoutMs`.
  std::optional<DWORD> WaitForExit(DWORD timeoutMs);

  DWORD ProcessId() const { return _processId; }

 private:
  WideString _pipeName;
  ScopedHandle _process;
  DWORD _processId = 0;
};

}  // namespace Tagwright
