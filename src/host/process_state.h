/// The state that the process's own threads share, and the two routines that every one of them may
/// call: noting pipe activity and stopping the pipe server.
#pragma once

#include <atomic>
#include <cstdint>

#include "pipe/pipe_server.h"
#include "support/osynchronizer.h"

/// The running pipe server: a TagwrightController in control-channel mode, a TagwrightServer
/// otherwise; null before it is created and after it is deleted. Created and deleted by the process
/// main only; every use on another thread happens under serverCritical.
extern PipeServer* pServer;

/// Which kind pServer is. Set once, before any other thread exists.
extern bool g_IsUsingControlChannel;

/// 1 when some pipe has had activity since the idle watcher last looked.
extern std::atomic<std::uint32_t> PipeActivity;

extern OCriticalSection serverCritical;

/// The activity hook of every pipe server. Takes no lock; any number of threads at once.
void OnPipeActivityCallback();

/// Stops the running pipe server, if there is one; the process main's wait on it then returns. In
/// control-channel mode it returns when all pipes are shut down (bounded, see
/// TagwrightController::ShutdownAllPipes), otherwise at once. Any thread, any number of times;
/// calls run one after another.
void ShutdownTagwrightServer();

/// Handler of console control events: Ctrl-C, Ctrl-Break, close and system shutdown stop the
/// server; every other event is left to the next handler.
BOOL WINAPI ConsoleHandler(DWORD controlType);
