/// Named pipes on Unix stream sockets: \\.\pipe\<name> is the socket pipe/<name in lower case>
/// under the state root, so that a client in any language can connect.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD PIPE_ACCESS_DUPLEX = 0x00000003;
constexpr DWORD PIPE_TYPE_BYTE = 0;
constexpr DWORD PIPE_READMODE_BYTE = 0;
constexpr DWORD PIPE_WAIT = 0;

/// Creates the one instance (`maxInstances` 1) of a byte-type, blocking, duplex pipe; one client
/// can connect at once, a second never waits: it is refused until the pipe listens again. Other
/// modes fail with ERROR_INVALID_PARAMETER. ERROR_PIPE_BUSY while a live process serves the name; a
/// socket left behind by a dead process is replaced. ERROR_INVALID_NAME: not \\.\pipe\<short name>,
/// a backslash in the short name, or more than 256 characters in all. Buffer sizes are advice and
/// not taken; the time-out has no meaning here. With a descriptor that grants Everyone any user may
/// connect, else only this one. INVALID_HANDLE_VALUE on failure.
///
/// On either end ReadFile, WriteFile and FlushFileBuffers work as files.h describes; on the
/// server's end they fail with ERROR_PIPE_LISTENING before a client is there.
HANDLE CreateNamedPipeW(LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD maxInstances,
                        DWORD outBufferSize, DWORD inBufferSize, DWORD defaultTimeoutMs,
                        LPSECURITY_ATTRIBUTES attributes);

/// Waits for the client. FALSE with ERROR_PIPE_CONNECTED (535) when it is already there,
/// ERROR_NO_DATA (232) when it came and left, ERROR_OPERATION_ABORTED (995) when cancelled. After
/// DisconnectNamedPipe it lets the next client in.
BOOL ConnectNamedPipe(HANDLE pipe, LPOVERLAPPED overlapped);

/// Ends the connection, or the listening: blocked calls on the handle, and later ones until
/// ConnectNamedPipe, fail with ERROR_PIPE_NOT_CONNECTED (233), as does this call itself then. What
/// the server has not read is lost.
BOOL DisconnectNamedPipe(HANDLE pipe);

/// The process that created the pipe. For a client's handle only; any other is
/// ERROR_INVALID_HANDLE.
BOOL GetNamedPipeServerProcessId(HANDLE pipe, LPDWORD processId);

/// Ends every pending operation on the handle with ERROR_OPERATION_ABORTED, whichever thread issued
/// it; `overlapped` must be null. FALSE with ERROR_NOT_FOUND (1168) when nothing was pending.
BOOL CancelIoEx(HANDLE file, LPOVERLAPPED overlapped);
