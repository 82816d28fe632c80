#include "platform/posix/api/pipes.h"

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/pipes/client_pipe.h"
#include "platform/posix/pipes/name.h"
#include "platform/posix/pipes/server_pipe.h"
#include "platform/posix/system/security.h"

using platform::Fail;
using platform::IoObject;
using platform::KernelScope;
using platform::Lookup;
using platform::PipeAddress;
using platform::ServerPipe;

namespace {

DWORD CreateServerPipe(LPCWSTR name, const SECURITY_ATTRIBUTES* attributes,
                       std::shared_ptr<ServerPipe>& pipe) {
  std::string fileName;
  if (const DWORD error = platform::PipeFileName(name, fileName)) return error;
  std::unique_ptr<PipeAddress> address;
  const bool forEveryone = platform::GrantsEveryone(attributes);
  if (const DWORD error = PipeAddress::Claim(fileName, forEveryone, address)) return error;
  return ServerPipe::Create(std::move(address), pipe);
}

BOOL Report(DWORD error) { return error == 0 ? TRUE : Fail(error); }

}  // namespace

HANDLE CreateNamedPipeW(LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD maxInstances, DWORD,
                        DWORD, DWORD, LPSECURITY_ATTRIBUTES attributes) {
  const KernelScope scope;
  DWORD error = ERROR_INVALID_PARAMETER;
  std::shared_ptr<ServerPipe> pipe;
  if (openMode == PIPE_ACCESS_DUPLEX && pipeMode == PIPE_WAIT && maxInstances == 1) {
    error = CreateServerPipe(name, attributes, pipe);
  }
  if (error == 0) return platform::InsertHandle(std::move(pipe));
  Fail(error);
  return INVALID_HANDLE_VALUE;
}

BOOL ConnectNamedPipe(HANDLE pipe, LPOVERLAPPED overlapped) {
  const KernelScope scope;
  if (overlapped != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const auto server = Lookup<ServerPipe>(pipe);
  if (!server) return FALSE;
  return Report(server->Connect());
}

BOOL DisconnectNamedPipe(HANDLE pipe) {
  const KernelScope scope;
  const auto server = Lookup<ServerPipe>(pipe);
  if (!server) return FALSE;
  return Report(server->Disconnect());
}

BOOL CancelIoEx(HANDLE file, LPOVERLAPPED overlapped) {
  const KernelScope scope;
  if (overlapped != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const auto object = Lookup<IoObject>(file);
  if (!object) return FALSE;
  return object->CancelPending() > 0 ? TRUE : Fail(ERROR_NOT_FOUND);
}

BOOL GetNamedPipeServerProcessId(HANDLE pipe, LPDWORD processId) {
  const KernelScope scope;
  const auto client = Lookup<platform::ClientPipe>(pipe);
  if (!client) return FALSE;
  *processId = client->ServerProcessId();
  return TRUE;
}
