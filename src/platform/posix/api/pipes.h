/// Named pipes on Unix stream sockets: \\.\pipe\<name> is the socket pipe/<name in lower case> under
/// the state root, so that a client in any language can connect.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD PIPE_ACCESS_DUPLEX = 0x00000003;
constexpr DWORD PIPE_TYPE_BYTE = 0;
constexpr DWORD PIPE_READMODE_BYTE = 0;
constexpr DWORD PIPE_WAIT = 0;

/// Creates the one instance of a byte-type, blocking, duplex pipe; clients can connect at once.
/// Other modes fail with ERROR_INVALID_PARAMETER. ERROR_PIPE_BUSY while a live process serves the
/// name; a socket left behind by a dead process is replaced. INVALID_HANDLE_VALUE on failure.
HANDLE CreateNamedPipeW(LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD maxInstances,
                        DWORD outBufferSize, DWORD inBufferSize, DWORD defaultTimeoutMs,
                        LPSECURITY_ATTRIBUTES attributes);

/// Waits for the client. FALSE with ERROR_PIPE_CONNECTED (535) when it is already there,
/// ERROR_NO_DATA (232) when it came and left, ERROR_OPERATION_ABORTED (995) when cancelled.
BOOL ConnectNamedPipe(HANDLE pipe, LPOVERLAPPED overlapped);
BOOL DisconnectNamedPipe(HANDLE pipe);

/// Bytes that can be read at once; for clients that want to know without blocking.
BOOL PeekNamedPipe(HANDLE pipe, LPVOID buffer, DWORD bufferSize, LPDWORD bytesRead,
                   LPDWORD totalBytesAvailable, LPDWORD bytesLeftThisMessage);

/// Ends every pending operation on the handle with ERROR_OPERATION_ABORTED, whichever thread issued
/// it; `overlapped` must be null. FALSE with ERROR_NOT_FOUND (1168) when nothing was pending.
BOOL CancelIoEx(HANDLE file, LPOVERLAPPED overlapped);
