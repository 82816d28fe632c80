/// Console control events: SIGINT is Ctrl-C, SIGQUIT Ctrl-Break, SIGHUP close, SIGTERM system
/// shutdown; each runs the handlers on a console control thread of its own.
#pragma once

#include "platform/posix/api/base.h"

constexpr DWORD CTRL_C_EVENT = 0;
constexpr DWORD CTRL_BREAK_EVENT = 1;
constexpr DWORD CTRL_CLOSE_EVENT = 2;
constexpr DWORD CTRL_LOGOFF_EVENT = 5;
constexpr DWORD CTRL_SHUTDOWN_EVENT = 6;

using PHANDLER_ROUTINE = BOOL(WINAPI*)(DWORD controlType);

/// Adds or removes a handler; the last one added is asked first, until one returns TRUE. An event
/// that no handler takes ends the process with exit code 0xC000013A. So does a close or shutdown
/// event 20 seconds after it came if the process still runs, whatever its handlers and its other
/// threads do: the system's default for a service at shutdown (WaitToKillServiceTimeout). The
/// signals are the process's own until the first handler is added. A null handler, and removing one
/// that was not added: FALSE with ERROR_INVALID_PARAMETER.
BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);
