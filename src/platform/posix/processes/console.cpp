#include "platform/posix/api/console.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "platform/posix/api/processes.h"
#include "platform/posix/api/threads.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/reactor.h"
#include "platform/posix/kernel/thread.h"

using platform::Fail;
using platform::KernelScope;

namespace {

/// STATUS_CONTROL_C_EXIT: the exit code of a process that a control event ended.
constexpr UINT kEndedByControlEvent = 0xC000013AU;
/// How long a process may go on after a handler has taken a close or shutdown event: the longest
/// that the system waits for one by default (WaitToKillServiceTimeout).
constexpr DWORD kClosingGraceMs = 20000;

struct ControlEvent {
  int signal;
  DWORD type;
  bool endsProcess;
};

constexpr ControlEvent kControlEvents[] = {
    {SIGINT, CTRL_C_EVENT, false},
    {SIGQUIT, CTRL_BREAK_EVENT, false},
    {SIGHUP, CTRL_CLOSE_EVENT, true},
    {SIGTERM, CTRL_SHUTDOWN_EVENT, true},
};

struct Handlers {
  std::mutex lock;
  std::vector<PHANDLER_ROUTINE> routines;
};

Handlers& TheHandlers() {
  static auto* const handlers = new Handlers;  // Used until the very end of the process.
  return *handlers;
}

/// From the signal handler to the reactor: one byte a signal, its number.
int g_signalPipe[2] = {-1, -1};

bool AskHandlers(DWORD type) {
  std::vector<PHANDLER_ROUTINE> routines;
  {
    KernelScope scope;
    std::lock_guard lock(TheHandlers().lock);
    routines = TheHandlers().routines;
  }
  return std::any_of(routines.rbegin(), routines.rend(),
                     [type](PHANDLER_ROUTINE routine) { return routine(type) != FALSE; });
}

/// A console control thread: one for each event, so that a handler that blocks holds up no other.
unsigned RunControlEvent(void* argument) {
  const auto& event = *static_cast<const ControlEvent*>(argument);
  if (!AskHandlers(event.type)) ExitProcess(kEndedByControlEvent);
  if (!event.endsProcess) return 0;
  Sleep(kClosingGraceMs);
  ExitProcess(kEndedByControlEvent);
}

void OnSignalsReady() {
  unsigned char signal = 0;
  if (read(g_signalPipe[0], &signal, sizeof signal) != sizeof signal) return;
  for (const ControlEvent& event : kControlEvents) {
    if (event.signal != signal) continue;
    platform::Thread::Start(RunControlEvent, const_cast<ControlEvent*>(&event), 0);
  }
}

void OnControlSignal(int signal) {
  const int before = errno;
  const auto byte = static_cast<unsigned char>(signal);
  // A full pipe has more events waiting than anybody sends on purpose: this one is dropped.
  [[maybe_unused]] const auto written = write(g_signalPipe[1], &byte, sizeof byte);
  errno = before;
}

bool ListenForSignals() {
  if (pipe2(g_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return false;
  platform::WatchDescriptor(g_signalPipe[0], EPOLLIN, OnSignalsReady);
  for (const ControlEvent& event : kControlEvents) {
    struct sigaction action {};
    action.sa_handler = OnControlSignal;
    action.sa_flags = SA_RESTART | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(event.signal, &action, nullptr);
  }
  return true;
}

BOOL RemoveHandler(std::vector<PHANDLER_ROUTINE>& routines, PHANDLER_ROUTINE handler) {
  const auto last = std::find(routines.rbegin(), routines.rend(), handler);
  if (last == routines.rend()) return Fail(ERROR_INVALID_PARAMETER);
  routines.erase(std::next(last).base());
  return TRUE;
}

}  // namespace

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
  KernelScope scope;
  if (handler == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  std::lock_guard lock(TheHandlers().lock);
  if (!add) return RemoveHandler(TheHandlers().routines, handler);
  static const bool isListening = ListenForSignals();
  if (!isListening) return Fail(ERROR_TOO_MANY_OPEN_FILES);
  TheHandlers().routines.push_back(handler);
  return TRUE;
}
